#include "doctor/finding.hpp"

#include <fmt/format.h>

#include <algorithm>

#include <nlohmann/json.hpp>

namespace norvik::tools {

const char* level_name(Level level) {
  static constexpr const char* kNames[] = {"ok", "warning", "problem"};
  return kNames[static_cast<int>(level)];
}

int count(const Findings& findings, Level level) {
  return static_cast<int>(
      std::count_if(findings.begin(), findings.end(), [level](const Finding& f) { return f.level == level; }));
}

nlohmann::ordered_json to_json(const Findings& findings) {
  auto list = nlohmann::ordered_json::array();
  for (const Finding& finding : findings) {
    list.push_back({{"level", level_name(finding.level)},
                    {"subject", finding.subject},
                    {"text", finding.text},
                    {"remedy", finding.remedy}});
  }
  return {{"findings", std::move(list)},
          {"warnings", count(findings, Level::kWarning)},
          {"problems", count(findings, Level::kProblem)}};
}

std::string to_text(const Findings& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += fmt::format("{:<8} {:<15} {}\n", level_name(finding.level), finding.subject, finding.text);
    text += finding.remedy.empty() ? "" : fmt::format("{:<24} → {}\n", "", finding.remedy);
  }
  return text +
         fmt::format("{} problems, {} warnings\n", count(findings, Level::kProblem), count(findings, Level::kWarning));
}

}  // namespace norvik::tools
