// Settings of the service: one request each, sent once.

#include <nlohmann/json.hpp>

#include "impl/norvik_navigation_base.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using nlohmann::json;

namespace {

constexpr std::chrono::seconds kReplyTimeout{5};
constexpr std::array<const char*, 4> kConfigKeys = {"kinematics_config", "navi_timeout", "pos_threshold", "fov_area"};

}  // namespace

bool NorvikNavigationBase::has_config_client() const {
  if (!config_client_) {
    SDK_LOG(error) << "get_set_config client /norvik/pns/get_set_config is null";
  }
  return config_client_ != nullptr;
}

// `name` begins the records.
NaviStatus NorvikNavigationBase::send_config(const NaviConfigRequest& request, const std::string& name) {
  const auto reply = config_client_->SendRequest(request, kReplyTimeout);
  if (!reply) {
    SDK_LOG(error) << name << " request timeout";
    return NaviStatus::REQUEST_FAILED;
  }
  const NaviStatus status = check_config_reply_id(name, request.task_id(), *reply);
  if (status == NaviStatus::SUCCESS) {
    SDK_LOG(info) << name << " send success " << request.task_id();
  }
  return status;
}

NaviStatus NorvikNavigationBase::set_navigation_config_json(const std::string& name, const json& config) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!has_config_client()) {
    return NaviStatus::REQUEST_FAILED;
  }
  if (!check_navigation_config(config)) {
    return NaviStatus::INVALID_INPUT;
  }
  return send_config(make_set_config_request(tasks_.next_config_id(name), config), name);
}

NaviStatus NorvikNavigationBase::set_navigation_timeout(double seconds) {
  return set_navigation_config_json("SetNaviTimeout", {{"navi_timeout", seconds}});
}

NaviStatus NorvikNavigationBase::set_navigation_arrival_threshold(const AxisLimits& threshold) {
  if (!check_arrival_threshold(threshold)) {
    return NaviStatus::INVALID_INPUT;
  }
  return set_navigation_config_json("SetPosThreshold", {{"pos_threshold", threshold}});
}

NaviStatus NorvikNavigationBase::set_navigation_velocity_limit(const AxisLimits& limit) {
  return set_navigation_kinematics_config_map({&limit, nullptr, nullptr});
}

NaviStatus NorvikNavigationBase::set_navigation_kinematics_limits(const AxisLimits& velocity,
                                                                  const AxisLimits& acceleration,
                                                                  const AxisLimits& jerk) {
  return set_navigation_kinematics_config_map({&velocity, &acceleration, &jerk});
}

NaviStatus NorvikNavigationBase::set_navigation_kinematics_config_map(const KinematicsLimits& limits) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!has_config_client()) {
    return NaviStatus::REQUEST_FAILED;
  }
  if (limits.velocity == nullptr && limits.acceleration == nullptr && limits.jerk == nullptr) {
    SDK_LOG(error) << "kinematics config is empty";
    return NaviStatus::INVALID_INPUT;
  }
  if (!check_kinematics_limits(limits)) {
    return NaviStatus::INVALID_INPUT;
  }
  return send_config(make_set_limits_request(tasks_.next_config_id("SetKinematicsConfig"), limits),
                     "set navigation kinematics config");
}

NaviStatus NorvikNavigationBase::get_navigation_config(const std::string& key) {
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!has_config_client()) {
    return NaviStatus::REQUEST_FAILED;
  }
  if (key.empty()) {
    SDK_LOG(error) << "navigation config key is empty";
    return NaviStatus::INVALID_INPUT;
  }
  const NaviConfigRequest request = make_get_config_request(tasks_.next_config_id("GetNaviConfig"), key);
  SDK_LOG(info) << "get navigation config request: " << request.DebugString();
  const auto reply = config_client_->SendRequest(request, kReplyTimeout);
  if (!reply) {
    SDK_LOG(error) << "get navigation config response null, key: " << key;
    return NaviStatus::REQUEST_FAILED;
  }
  SDK_LOG(info) << "get navigation config raw response: " << reply->DebugString();
  const NaviStatus status = check_config_reply_id("get navigation config", request.task_id(), *reply);
  return status == NaviStatus::SUCCESS ? log_config_reply(key, *reply) : status;
}

NaviStatus NorvikNavigationBase::dump_navigation_configs() {
  NaviStatus result = NaviStatus::SUCCESS;
  for (const char* const key : kConfigKeys) {
    const NaviStatus status = get_navigation_config(key);
    if (status != NaviStatus::SUCCESS) {
      SDK_LOG(error) << "dump navigation config failed, key: " << key;
      result = status;
    }
  }
  return result;
}

}  // namespace norvik::sdk
