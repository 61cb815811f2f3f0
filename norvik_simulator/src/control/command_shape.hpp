#pragma once

#include <string>
#include <vector>
#include <nlohmann/json_fwd.hpp>

namespace norvik::simulator {

// What a member of a control command holds.
enum class MemberKind { kText, kNumber, kWholeNumber, kCode, kFlag, kTexts, kNumbers };

struct Member {
  const char* name;
  MemberKind kind;
  bool required = true;
};

// Why `command` cannot be carried out, whatever the robot: no object, an "op" that does not exist, members that are
// missing, unknown or of the wrong kind. Empty when it can. "at_s" is for fault plans, and allowed everywhere. Pure.
std::string check_shape(const nlohmann::json& command);

}  // namespace norvik::simulator
