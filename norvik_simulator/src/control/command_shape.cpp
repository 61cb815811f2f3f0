#include "control/command_shape.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <nlohmann/json.hpp>

#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

using nlohmann::json;
using Members = std::vector<Member>;

constexpr Member kAtSeconds = {"at_s", MemberKind::kNumber, false};

const std::map<std::string, Members>& operations() {
  constexpr bool kOptional = false;
  static const std::map<std::string, Members> kOperations = {
      {"error",
       {{"group", MemberKind::kText}, {"code", MemberKind::kCode}, {"description", MemberKind::kText, kOptional}}},
      {"reply",
       {{"service", MemberKind::kText},
        {"fault", MemberKind::kText},
        {"count", MemberKind::kWholeNumber, kOptional},
        {"delay_ms", MemberKind::kWholeNumber, kOptional}}},
      {"topic",
       {{"topic", MemberKind::kText},
        {"fault", MemberKind::kText},
        {"share", MemberKind::kNumber, kOptional},
        {"delay_ms", MemberKind::kWholeNumber, kOptional},
        {"payload", MemberKind::kText, kOptional},
        {"repeat", MemberKind::kWholeNumber, kOptional}}},
      {"planner", {{"fault", MemberKind::kText}, {"count", MemberKind::kWholeNumber, kOptional}}},
      {"clock", {{"skew_ms", MemberKind::kWholeNumber}}},
      {"infrared", {{"side", MemberKind::kText}, {"enabled", MemberKind::kFlag}}},
      {"freeze", {{"joints", MemberKind::kTexts}, {"frozen", MemberKind::kFlag, kOptional}}},
      {"set_positions", {{"positions", MemberKind::kNumbers}}},
      {"place_object", {{"group", MemberKind::kText}, {"width_mm", MemberKind::kNumber}}},
      {"place_thing",
       {{"name", MemberKind::kText},
        {"x", MemberKind::kNumber},
        {"y", MemberKind::kNumber},
        {"z", MemberKind::kNumber, kOptional},
        {"yaw", MemberKind::kNumber, kOptional}}},
      {"observe", {{"file", MemberKind::kText}}},
      {"push_base",
       {{"x", MemberKind::kNumber, kOptional},
        {"y", MemberKind::kNumber, kOptional},
        {"yaw", MemberKind::kNumber, kOptional}}},
      {"navigation_service", {{"status", MemberKind::kWholeNumber}}},
      {"navigation_report",
       {{"task_id", MemberKind::kText},
        {"status", MemberKind::kWholeNumber},
        {"message", MemberKind::kText, kOptional}}},
      {"draw_map", {{"file", MemberKind::kText}}},
      {"crash", {{"how", MemberKind::kText, kOptional}}},
      {"clear", {}},
      {"state", {}},
  };
  return kOperations;
}

// JSON numbers beyond 63 bits are of a type of their own.
bool is_whole(const json& value) {
  return value.is_number_integer() &&
         !(value.is_number_unsigned() && value.get<uint64_t>() > std::numeric_limits<int64_t>::max());
}

bool is_code(const json& value) {
  return is_whole(value) && value.get<int64_t>() >= std::numeric_limits<int32_t>::min() &&
         value.get<int64_t>() <= std::numeric_limits<int32_t>::max();
}

bool all_are(const json& values, bool (json::*is)() const noexcept) {
  return std::all_of(values.begin(), values.end(), [is](const json& value) { return (value.*is)(); });
}

struct Kind {
  bool (*fits)(const json&);
  const char* name;
};

const Kind& kind_of(const Member& member) {
  static const Kind kKinds[] = {
      {[](const json& value) { return value.is_string(); }, "a text"},
      {[](const json& value) { return value.is_number(); }, "a number"},
      {is_whole, "a whole number"},
      {is_code, "a whole number of 32 bits"},
      {[](const json& value) { return value.is_boolean(); }, "true or false"},
      {[](const json& value) { return value.is_array() && all_are(value, &json::is_string); }, "a list of texts"},
      {[](const json& value) { return value.is_object() && all_are(value, &json::is_number); }, "an object of numbers"},
  };
  return kKinds[static_cast<size_t>(member.kind)];
}

std::string quoted(const std::string& name) { return '"' + printable_name(name) + '"'; }

std::string check_member(const json& command, const Member& member) {
  const auto value = command.find(member.name);
  if (value == command.end()) {
    return member.required ? quoted(member.name) + " is missing" : "";
  }
  const Kind& kind = kind_of(member);
  return kind.fits(*value) ? "" : quoted(member.name) + " is not " + kind.name;
}

bool has_member(const Members& members, const std::string& name) {
  return name == "op" || name == kAtSeconds.name ||
         std::any_of(members.begin(), members.end(), [&](const Member& member) { return name == member.name; });
}

}  // namespace

std::string check_shape(const json& command) {
  if (!command.is_object()) {
    return "a command is an object";
  }
  std::string reason = check_member(command, {"op", MemberKind::kText});
  if (!reason.empty()) {
    return reason;
  }
  const auto name = command["op"].get<std::string>();
  const auto operation = operations().find(name);
  if (operation == operations().end()) {
    return "unknown op: " + printable_name(name);
  }
  for (const auto& [member, value] : command.items()) {
    if (!has_member(operation->second, member)) {
      return quoted(member) + " is no member of op " + name;
    }
  }
  reason = check_member(command, kAtSeconds);
  for (size_t i = 0; reason.empty() && i < operation->second.size(); ++i) {
    reason = check_member(command, operation->second[i]);
  }
  return reason;
}

}  // namespace norvik::simulator
