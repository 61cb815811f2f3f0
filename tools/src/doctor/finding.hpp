#pragma once

#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

namespace norvik::tools {

enum class Level { kOk, kWarning, kProblem };
const char* level_name(Level level);

// One thing the doctor looked at.
struct Finding {
  Level level;
  std::string subject;  // One or two words.
  std::string text;
  std::string remedy;  // A command where there is one; empty: nothing to be done.
};
using Findings = std::vector<Finding>;

int count(const Findings& findings, Level level);
nlohmann::ordered_json to_json(const Findings& findings);
// Problems and warnings with their remedy below them, and a last line that sums up.
std::string to_text(const Findings& findings);

}  // namespace norvik::tools
