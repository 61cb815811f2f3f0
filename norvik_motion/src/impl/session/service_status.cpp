#include "impl/session/service_status.hpp"

#include <algorithm>

#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::PlannerStatus;

std::string planner_status_to_string(ServiceStatus status) {
  switch (status) {
    case PlannerStatus::SERVICE_STATUS_READY:
    case PlannerStatus::SERVICE_STATUS_BUSY:
    case PlannerStatus::SERVICE_STATUS_INITING:
    case PlannerStatus::SERVICE_STATUS_FINISHED:
    case PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED:
    case PlannerStatus::SERVICE_STATUS_INIT_FAILED:
      return PlannerStatus::ServiceStatus_Name(status) + " (" + std::to_string(status) + ")";
    default:
      return "UNKNOWN_STATUS (" + std::to_string(status) + ")";
  }
}

bool is_terminal(ServiceStatus status) {
  return status == PlannerStatus::SERVICE_STATUS_FINISHED || status == PlannerStatus::SERVICE_STATUS_EXECUTE_FAILED;
}

void ServiceStatusCell::set(ServiceStatus status) {
  {
    const std::lock_guard<std::mutex> lock(mps_status_mutex_);
    mps_status_ = status;
    mps_status_valid_ = true;
  }
  mps_status_cv_.notify_all();
}

void ServiceStatusCell::stop() {
  {
    const std::lock_guard<std::mutex> lock(mps_status_mutex_);
    stopped_ = true;
  }
  mps_status_cv_.notify_all();
}

bool ServiceStatusCell::wait_until(PlannerTime deadline, const std::function<bool()>& ready) {
  const ovimux::ActiveWait active;
  std::unique_lock<std::mutex> lock(mps_status_mutex_);
  return wait_locked(lock, deadline, ready);
}

bool ServiceStatusCell::wait_locked(std::unique_lock<std::mutex>& lock, PlannerTime deadline,
                                    const std::function<bool()>& ready) {
  while (!ready()) {
    const auto now = std::chrono::steady_clock::now();
    if (now >= deadline || stopped_ || !ovimux::may_send()) {
      return false;
    }
    mps_status_cv_.wait_until(lock, std::min(deadline, now + kShutdownCheckPeriod));
  }
  return true;
}

std::string ServiceStatusCell::text_locked() const {
  return mps_status_valid_ ? planner_status_to_string(mps_status_) : "UNKNOWN_STATUS (not received)";
}

MotionStatus ServiceStatusCell::wait_mps_ready(double timeout_s) {
  if (!(timeout_s > 0.0)) {
    SDK_LOG(error) << "invalid wait_mps_ready timeout: " << timeout_s;
    return MotionStatus::INVALID_INPUT;
  }
  const auto is = [this](ServiceStatus status) { return mps_status_valid_ && mps_status_ == status; };
  const ovimux::ActiveWait active;  // Outlives the lock: it may hold the thread while the process exits.
  std::unique_lock<std::mutex> lock(mps_status_mutex_);
  if (is(PlannerStatus::SERVICE_STATUS_READY)) {
    return MotionStatus::SUCCESS;
  }
  SDK_LOG(info) << "waiting for mps ready, current status: " << text_locked();
  const auto deadline = planner_deadline(std::chrono::steady_clock::now(), timeout_s);
  const bool settled = wait_locked(lock, deadline, [&] {
    return is(PlannerStatus::SERVICE_STATUS_READY) || is(PlannerStatus::SERVICE_STATUS_INIT_FAILED);
  });
  if (!settled) {
    SDK_LOG(error) << "wait mps ready timeout, last status: " << text_locked();
    return MotionStatus::TIMEOUT;
  }
  if (is(PlannerStatus::SERVICE_STATUS_INIT_FAILED)) {
    SDK_LOG(error) << "mps init failed while waiting ready.";
    return MotionStatus::INIT_FAILED;
  }
  SDK_LOG(info) << "mps service status is READY.";
  return MotionStatus::SUCCESS;
}

}  // namespace norvik::sdk
