#include "control/fault_plan.hpp"

#include <algorithm>
#include <fstream>
#include <sstream>

#include "control/command_shape.hpp"

namespace norvik::simulator {

std::optional<FaultPlan> FaultPlan::load(const std::string& path, std::string& error) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) {
    error = "cannot read " + path;
    return std::nullopt;
  }
  auto plan = parse(text.str(), error);
  if (!plan) {
    error = path + ": " + error;
  }
  return plan;
}

std::optional<FaultPlan> FaultPlan::parse(const std::string& text, std::string& error) {
  const auto list = nlohmann::json::parse(text, nullptr, false);
  if (!list.is_array()) {
    error = "not a JSON list of commands";
    return std::nullopt;
  }
  FaultPlan plan;
  for (const nlohmann::json& command : list) {
    if (const std::string reason = check_shape(command); !reason.empty()) {
      error = "command " + std::to_string(plan.entries_.size() + 1) + ": " + reason;
      return std::nullopt;
    }
    plan.entries_.push_back({command.value("at_s", 0.0), command});
  }
  std::reverse(plan.entries_.begin(), plan.entries_.end());
  std::stable_sort(plan.entries_.begin(), plan.entries_.end(),
                   [](const Entry& a, const Entry& b) { return a.at_s > b.at_s; });
  return plan;
}

std::vector<nlohmann::json> FaultPlan::take_due(double time) {
  std::vector<nlohmann::json> due;
  while (!entries_.empty() && entries_.back().at_s <= time) {
    due.push_back(std::move(entries_.back().command));
    entries_.pop_back();
  }
  return due;
}

}  // namespace norvik::simulator
