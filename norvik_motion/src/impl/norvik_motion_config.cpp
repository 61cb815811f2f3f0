// The configuration of the planning service: read from its status messages, changed by requests.

#include "impl/norvik_motion_base.hpp"
#include "impl/requests/config_requests.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

std::tuple<MotionStatus, MotionPlanConfig> NorvikMotionBase::get_motion_plan_config() {
  return config_cache_.get_motion_plan_config();
}

MotionStatus NorvikMotionBase::set_motion_plan_config(std::shared_ptr<MotionPlanConfig> config) {
  return set_motion_plan_config_impl(config, PlannerConfig{});
}

MotionStatus NorvikMotionBase::set_motion_plan_config_impl(const std::shared_ptr<MotionPlanConfig>& config,
                                                           const PlannerConfig& planner_config) {
  if (!is_valid()) {
    SDK_LOG(error) << "planner not init success";
    return MotionStatus::INIT_FAILED;
  }
  if (!config) {
    SDK_LOG(error) << "config nullptr, set failed.";
    return MotionStatus::INVALID_INPUT;
  }
  PlanRequest request = make_request("set_motion_config");
  const MotionStatus filled = fill_config_setting(*data_checker(), *config, *request.mutable_config_setting_req());
  if (filled != MotionStatus::SUCCESS) {
    return filled;
  }
  const MotionStatus status = run_task(request, planner_config.timeout);
  if (status != MotionStatus::SUCCESS) {
    SDK_LOG(error) << "set motion plan config failed, status: " << status_to_string(status);
  }
  return status;
}

}  // namespace norvik::sdk
