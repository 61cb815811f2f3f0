#include "impl/session/config_cache.hpp"

#include <chrono>

#include "impl/replies/config_report.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::PlannerStatus;

namespace {

constexpr double kOldestReportS = 3.0;

int64_t wall_clock_ns() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration_cast<std::chrono::nanoseconds>(now).count();
}

template <typename Record>
std::shared_ptr<Record> copy_of(const std::shared_ptr<Record>& record) {
  return record ? std::make_shared<Record>(*record) : nullptr;
}

MotionPlanConfig deep_copy(const MotionPlanConfig& config) {
  MotionPlanConfig copy = config;
  copy.sampler_config = copy_of(config.sampler_config);
  copy.trajectory_plan_config = copy_of(config.trajectory_plan_config);
  copy.ik_solver_config = copy_of(config.ik_solver_config);
  return copy;  // The service does not report the other records.
}

}  // namespace

void ConfigCache::update_motion_config(const PlannerStatus& message, const std::set<std::string>& chains) {
  const std::lock_guard<std::mutex> lock(motion_plan_config_mutex_);
  take_over_config(message, chains, motion_plan_config_);
  planner_env_objs_ = {message.env_objs().begin(), message.env_objs().end()};
  const auto status = message.status();
  mps_init_ok_ = status != PlannerStatus::SERVICE_STATUS_INITING && status != PlannerStatus::SERVICE_STATUS_INIT_FAILED;
  mps_initing_ = status == PlannerStatus::SERVICE_STATUS_INITING;
  motion_plan_config_.update_nsec = wall_clock_ns();
  motion_plan_config_time_ns_ = motion_plan_config_.update_nsec;
}

std::tuple<MotionStatus, MotionPlanConfig> ConfigCache::get_motion_plan_config() const {
  const int64_t time_ns = motion_plan_config_time_ns_.load();
  const double age_s = static_cast<double>(wall_clock_ns() - time_ns) / 1e9;
  if (age_s > kOldestReportS) {
    SDK_LOG(error) << "motion plan config last update time " << time_ns << ", " << age_s
                   << " seconds away from the current time, data invalid.";
    return {MotionStatus::DATA_FETCH_FAILED, {}};
  }
  const std::lock_guard<std::mutex> lock(motion_plan_config_mutex_);
  return {MotionStatus::SUCCESS, deep_copy(motion_plan_config_)};
}

std::vector<std::string> ConfigCache::planner_env_objs() const {
  const std::lock_guard<std::mutex> lock(motion_plan_config_mutex_);
  return planner_env_objs_;
}

}  // namespace norvik::sdk
