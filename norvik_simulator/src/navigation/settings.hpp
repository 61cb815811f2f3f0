#pragma once

#include <optional>
#include <string>
#include <nlohmann/json_fwd.hpp>

#include "navigation/task.hpp"

namespace norvik::simulator {

// What an application can set of the navigation.
struct NavigationSettings {
  MotionLimits limits = {{0.8, 0.5, 1.0}, {1.0, 1.0, 2.0}, {5.0, 5.0, 10.0}};
  double timeout = 300.0;  // s; 0 and below: none
  Threshold threshold = {0.05, 0.05, 0.05};
};

// Takes over "kinematics_config" ("vel_upper", "vel_lower", ... of three numbers), "navi_timeout" (a number) and
// "pos_threshold" (three numbers). Returns why not, and changes nothing then; empty when it did.
std::string change_settings(NavigationSettings& settings, const nlohmann::json& changes);

// The value of a key, "fov_area" included; empty for an unknown one.
std::optional<nlohmann::json> find_setting(const NavigationSettings& settings, const std::string& key);

}  // namespace norvik::simulator
