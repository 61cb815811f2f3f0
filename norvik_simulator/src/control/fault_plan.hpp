#pragma once

#include <optional>
#include <string>
#include <vector>
#include <nlohmann/json.hpp>

namespace norvik::simulator {

// Control commands that a file holds for the simulator's own clock: a JSON list of commands, each with an optional
// "at_s", seconds after start-up (default 0).
class FaultPlan {
 public:
  FaultPlan() = default;

  // Empty, with a reason, when the file cannot be read, is no such list, or holds a command that no robot could carry
  // out. Whether this one has the group, joint or topic is seen when the command is carried out.
  static std::optional<FaultPlan> load(const std::string& path, std::string& error);
  static std::optional<FaultPlan> parse(const std::string& text, std::string& error);

  // The commands whose time has come, in the order of their times; each is returned once.
  std::vector<nlohmann::json> take_due(double time);

 private:
  struct Entry {
    double at_s;
    nlohmann::json command;
  };
  std::vector<Entry> entries_;  // Latest first.
};

}  // namespace norvik::simulator
