#include "impl/requests/navigation_config_requests.hpp"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "sdk_log.hpp"

namespace norvik::sdk {

using nlohmann::json;

namespace {

// One kind of limit: where a call has it, its bounds, its names in messages and in the request.
struct LimitKind {
  const AxisLimits* KinematicsLimits::*limits;
  double lower;
  double upper;
  const char* title;
  const char* key;
};

constexpr std::array<LimitKind, 3> kLimitKinds = {{
    {&KinematicsLimits::velocity, 0.05, 1.5, "velocity limit", "vel"},
    {&KinematicsLimits::acceleration, 0.05, 7.5, "acceleration limit", "acc"},
    {&KinematicsLimits::jerk, 0.05, 37.5, "jerk limit", "jerk"},
}};
constexpr double kLeastThreshold = 0.03;
constexpr double kMostThreshold = 2.0;

bool all_within(const AxisLimits& values, double lower, double upper) {
  return std::all_of(values.begin(), values.end(), [&](double value) { return value >= lower && value <= upper; });
}

bool all_finite(const json& value) {
  if (value.is_structured()) {
    return std::all_of(value.begin(), value.end(), [](const json& member) { return all_finite(member); });
  }
  return !value.is_number_float() || std::isfinite(value.get<double>());
}

// Text that is no UTF-8 must not throw.
std::string dump_compact(const json& value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

NaviConfigRequest make_request(const std::string& task_id, kelvorn_proto::GetSetOption operation) {
  NaviConfigRequest request;
  request.set_operation(operation);
  request.set_task_id(task_id);
  return request;
}

}  // namespace

bool check_kinematics_limits(const KinematicsLimits& limits) {
  for (const LimitKind& kind : kLimitKinds) {
    const AxisLimits* const values = limits.*kind.limits;
    if (values != nullptr && !all_within(*values, kind.lower, kind.upper)) {
      SDK_LOG(error) << kind.title << " values must be in range [" << kind.lower << ", " << kind.upper << "]";
      return false;
    }
  }
  return true;
}

bool check_arrival_threshold(const AxisLimits& threshold) {
  if (all_within(threshold, kLeastThreshold, kMostThreshold)) {
    return true;
  }
  SDK_LOG(error) << "navigation arrival threshold values must be in range [0.03, 2.0]";
  return false;
}

bool check_navigation_config(const json& config) {
  if (config.is_null() || (config.is_structured() && config.empty())) {
    SDK_LOG(error) << "navigation config json is empty";
    return false;
  }
  if (!all_finite(config)) {
    SDK_LOG(error) << "navigation config json has a number that is not finite";
    return false;
  }
  return true;
}

NaviConfigRequest make_set_config_request(const std::string& task_id, const json& config) {
  NaviConfigRequest request = make_request(task_id, kelvorn_proto::Set);
  request.mutable_configs()->set_config_msg(dump_compact(config));
  return request;
}

NaviConfigRequest make_set_limits_request(const std::string& task_id, const KinematicsLimits& limits) {
  NaviConfigRequest request = make_request(task_id, kelvorn_proto::Set);
  google::protobuf::Value value;
  value.mutable_struct_value();
  for (const LimitKind& kind : kLimitKinds) {
    if (const AxisLimits* const values = limits.*kind.limits) {
      append_kinematics_bound(value, *values, kind.key);
    }
  }
  (*request.mutable_configs()->mutable_config_map()->mutable_fields())["kinematics_config"] = std::move(value);
  return request;
}

NaviConfigRequest make_get_config_request(const std::string& task_id, const std::string& key) {
  NaviConfigRequest request = make_request(task_id, kelvorn_proto::Get);
  json wanted;
  wanted[key] = nullptr;
  wanted["response_type"] = "json";
  request.mutable_configs()->set_config_msg(dump_compact(wanted));
  return request;
}

void append_kinematics_bound(google::protobuf::Value& value, const AxisLimits& bound, const std::string& name) {
  auto& fields = *value.mutable_struct_value()->mutable_fields();
  auto& upper = *fields[name + "_upper"].mutable_list_value();
  auto& lower = *fields[name + "_lower"].mutable_list_value();
  for (const double limit : bound) {
    upper.add_values()->set_number_value(limit);
    lower.add_values()->set_number_value(-limit);
  }
}

}  // namespace norvik::sdk
