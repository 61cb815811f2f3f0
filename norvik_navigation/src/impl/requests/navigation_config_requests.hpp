#pragma once

#include <google/protobuf/struct.pb.h>

#include <array>
#include <string>
#include <nlohmann/json_fwd.hpp>

#include "norvik/kelvorn_proto/kelvorn_common.pb.h"

namespace norvik::sdk {

using NaviConfigRequest = kelvorn_proto::GetSetMotionPlanConfigRequest;
using AxisLimits = std::array<double, 3>;  // x, y, yaw

// The limits that a call sets; empty pointers leave theirs as they are.
struct KinematicsLimits {
  const AxisLimits* velocity = nullptr;
  const AxisLimits* acceleration = nullptr;
  const AxisLimits* jerk = nullptr;
};

// Whether all limits that are there lie within their bounds; logs the first that does not.
bool check_kinematics_limits(const KinematicsLimits& limits);
bool check_arrival_threshold(const AxisLimits& threshold);

// Whether the service could read it: something in it, and every number finite, as JSON has no others. Logs.
bool check_navigation_config(const nlohmann::json& config);

NaviConfigRequest make_set_config_request(const std::string& task_id, const nlohmann::json& config);
NaviConfigRequest make_set_limits_request(const std::string& task_id, const KinematicsLimits& limits);
NaviConfigRequest make_get_config_request(const std::string& task_id, const std::string& key);

// Adds "<name>_upper" with the limits and "<name>_lower" with the limits negated to the struct in `value`.
void append_kinematics_bound(google::protobuf::Value& value, const AxisLimits& bound, const std::string& name);

}  // namespace norvik::sdk
