// An arm to a pose, planned and executed at once; in the background if wanted.

#include <chrono>
#include <exception>
#include <utility>

#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "impl/requests/argument_checks.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

// For a background task to notice that the process ends; well below the time for which the middleware holds it then.
constexpr std::chrono::milliseconds kTimeForAsyncTask{100};

std::string chain_of_end_effector(std::string end_effector) {
  const std::string suffix = "_end_effector";
  const size_t place = end_effector.find(suffix);
  return place == std::string::npos ? end_effector : end_effector.erase(place, suffix.size());
}

}  // namespace

MotionStatus NorvikMotionBase::set_end_effector_pose(const std::vector<double>& pose, const std::string& end_effector,
                                                     const std::string& reference_frame,
                                                     std::shared_ptr<RobotStates> /*reference_state*/,
                                                     bool /*check_collision*/, bool blocking, double timeout,
                                                     std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return MotionStatus::INIT_FAILED;
  }
  if (!check_pose_size(pose)) {
    return MotionStatus::INVALID_INPUT;
  }
  const auto config = read_parameter(parameter, "set_end_effector_pose");
  if (!config) {
    return MotionStatus::INVALID_INPUT;
  }
  PlanContext context{reference_frame, {}, {}, *config};
  context.config.immediate_execute = true;
  if (!(timeout < 0.0)) {
    context.config.timeout = timeout;
  }
  if (!(context.config.timeout > 0.0)) {
    SDK_LOG(error) << "invalid [timeout_second] value, must be positive: " << context.config.timeout;
    return MotionStatus::INVALID_INPUT;
  }
  {
    const std::lock_guard<std::mutex> lock(async_task_mutex_);
    if (!join_finished_async_task()) {
      return MotionStatus::IN_PROGRESS;
    }
  }
  const std::string chain = chain_of_end_effector(end_effector);
  if (blocking) {
    return std::get<0>(plan_single_chain_path(chain, TargetType::kPose, pose, context));
  }
  return start_async_task(chain, pose, std::move(context));
}

// The caller holds async_task_mutex_. A task that says it is done has left its last wait: joining is immediate.
bool NorvikMotionBase::join_finished_async_task() {
  if (!async_task_thread_.joinable()) {
    return true;
  }
  if (async_task_running_.load()) {
    SDK_LOG(error) << "set_end_effector_pose background task is still running.";
    return false;
  }
  async_task_thread_.join();
  return true;
}

MotionStatus NorvikMotionBase::start_async_task(std::string chain, std::vector<double> pose, PlanContext context) {
  const std::lock_guard<std::mutex> lock(async_task_mutex_);
  if (!join_finished_async_task()) {
    return MotionStatus::IN_PROGRESS;
  }
  async_task_running_ = true;
  try {
    std::promise<void> done;
    async_task_done_ = done.get_future();
    async_task_thread_ = std::thread([this, chain = std::move(chain), pose = std::move(pose),
                                      context = std::move(context), done = std::move(done)]() mutable {
      run_async_task(chain, pose, context);
      async_task_running_ = false;
      done.set_value();
    });
  } catch (const std::exception& error) {
    async_task_running_ = false;
    SDK_LOG(error) << "failed to start set_end_effector_pose async task: " << error.what();
    return MotionStatus::FAULT;
  }
  return MotionStatus::SUCCESS;
}

void NorvikMotionBase::run_async_task(const std::string& chain, const std::vector<double>& pose,
                                      const PlanContext& context) {
  try {
    const MotionStatus status = std::get<0>(plan_single_chain_path(chain, TargetType::kPose, pose, context));
    SDK_LOG(info) << "set_end_effector_pose async finished, status: " << static_cast<int32_t>(status);
  } catch (const std::exception& error) {
    SDK_LOG(error) << "set_end_effector_pose async exception: " << error.what();
  } catch (...) {
    SDK_LOG(error) << "set_end_effector_pose async unknown exception.";
  }
}

// At destruction. While the process exits the middleware may hold the thread until the process is gone: it is let go
// then, for it will not come back to this object.
void NorvikMotionBase::end_async_task() {
  const std::lock_guard<std::mutex> lock(async_task_mutex_);
  if (!async_task_thread_.joinable()) {
    return;
  }
  if (ovimux::OK() || async_task_done_.wait_for(kTimeForAsyncTask) == std::future_status::ready) {
    async_task_thread_.join();
  } else {
    async_task_thread_.detach();
  }
}

}  // namespace norvik::sdk
