#include "navigation/settings.hpp"

#include <cmath>
#include <nlohmann/json.hpp>

#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

using nlohmann::json;
using Triple = std::array<double, 3>;

struct LimitRow {
  const char* name;
  Triple MotionLimits::*limit;
};
constexpr LimitRow kLimits[] = {
    {"vel", &MotionLimits::velocity}, {"acc", &MotionLimits::acceleration}, {"jerk", &MotionLimits::jerk}};

// Corners of what the follower looks at, in the base's frame, metres.
const json kFieldOfView = {{0.0, -1.0}, {2.0, -1.0}, {2.0, 1.0}, {0.0, 1.0}};

bool read_triple(const json& value, Triple& triple) {
  if (!value.is_array() || value.size() != triple.size()) {
    return false;
  }
  for (size_t i = 0; i < triple.size(); ++i) {
    triple[i] = value[i].is_number() ? value[i].get<double>() : 0.0;
    if (!(std::isfinite(triple[i]) && triple[i] > 0.0)) {
      return false;
    }
  }
  return true;
}

// The lower bounds mirror the upper ones; only these count.
std::string change_limits(MotionLimits& limits, const json& changes) {
  if (!changes.is_object()) {
    return "kinematics_config is no object";
  }
  for (const LimitRow& row : kLimits) {
    const auto upper = changes.find(std::string(row.name) + "_upper");
    if (upper != changes.end() && !read_triple(*upper, limits.*row.limit)) {
      return std::string("kinematics_config has no three positive numbers ") + row.name + "_upper";
    }
  }
  return "";
}

std::string change_one(NavigationSettings& settings, const std::string& key, const json& value) {
  if (key == "kinematics_config") {
    return change_limits(settings.limits, value);
  }
  if (key == "navi_timeout") {
    if (!value.is_number() || !std::isfinite(value.get<double>())) {
      return "navi_timeout is no number";
    }
    settings.timeout = value.get<double>();
    return "";
  }
  if (key == "pos_threshold") {
    return read_triple(value, settings.threshold) ? "" : "pos_threshold is no list of three positive numbers";
  }
  return printable_name(key) + " cannot be set";
}

}  // namespace

std::string change_settings(NavigationSettings& settings, const json& changes) {
  if (!changes.is_object() || changes.empty()) {
    return "no settings";
  }
  NavigationSettings changed = settings;
  for (const auto& [key, value] : changes.items()) {
    if (std::string reason = change_one(changed, key, value); !reason.empty()) {
      return reason;
    }
  }
  settings = changed;
  return "";
}

std::optional<json> find_setting(const NavigationSettings& settings, const std::string& key) {
  if (key == "navi_timeout") {
    return settings.timeout;
  }
  if (key == "pos_threshold") {
    return settings.threshold;
  }
  if (key == "fov_area") {
    return kFieldOfView;
  }
  if (key != "kinematics_config") {
    return std::nullopt;
  }
  json config;
  for (const LimitRow& row : kLimits) {
    const Triple& upper = settings.limits.*row.limit;
    config[std::string(row.name) + "_upper"] = upper;
    config[std::string(row.name) + "_lower"] = {-upper[0], -upper[1], -upper[2]};
  }
  return config;
}

}  // namespace norvik::simulator
