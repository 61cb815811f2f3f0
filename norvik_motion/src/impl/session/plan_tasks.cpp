#include "impl/session/plan_tasks.hpp"

#include <unistd.h>

#include <algorithm>
#include <chrono>

#include "impl/session/service_status.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using std::chrono::steady_clock;

void PlanTasks::add_plan_task_handle(const std::string& task_id) {
  auto handle = std::make_shared<PlanTaskHandle>();
  const std::lock_guard<std::mutex> lock(plan_task_mutex_);
  plan_task_handles_[task_id] = std::move(handle);
}

void PlanTasks::update(const kelvorn_proto::PlannerStatus& status) {
  const std::string& id = status.task_id();
  const std::lock_guard<std::mutex> lock(plan_task_mutex_);
  const auto entry = plan_task_handles_.find(id);
  if (entry == plan_task_handles_.end()) {
    if (!id.empty()) {
      SDK_LOG(error) << "has unknow task result, task id is " << id;
    }
    return;
  }
  PlanTaskHandle& handle = *entry->second;
  SDK_LOG(info) << "task id : " << id << " status : " << planner_status_to_string(status.status());
  if (handle.terminated) {
    return;
  }
  handle.status = status;
  handle.has_status = true;
  if (is_terminal(status.status())) {
    SDK_LOG(info) << "is_terminal: " << id << ", status: " << static_cast<int>(status.status());
    handle.terminated = true;
    handle.promise.set_value();
  }
}

MotionStatus PlanTasks::wait_plan_task_finish(const std::string& task_id, int64_t timeout_ms) {
  std::shared_future<void> future;
  {
    const std::lock_guard<std::mutex> lock(plan_task_mutex_);
    const auto entry = plan_task_handles_.find(task_id);
    if (entry == plan_task_handles_.end()) {
      SDK_LOG(error) << "don't has task id : " << task_id;
      return MotionStatus::INVALID_INPUT;
    }
    future = entry->second->future;
  }
  const std::chrono::milliseconds timeout(std::max<int64_t>(timeout_ms, 0));
  const auto deadline = steady_clock::now() + std::min<std::chrono::milliseconds>(timeout, kLongestPlannerWait);
  return wait_until(future, deadline) ? MotionStatus::SUCCESS : MotionStatus::TIMEOUT;
}

bool PlanTasks::wait_until(const std::shared_future<void>& future, PlannerTime deadline) const {
  const ovimux::ActiveWait active;
  while (true) {
    const auto now = steady_clock::now();
    if (future.wait_until(std::min(deadline, now + kShutdownCheckPeriod)) == std::future_status::ready) {
      return true;
    }
    if (now >= deadline || stopped_.load() || !ovimux::may_send()) {
      return false;
    }
  }
}

bool PlanTasks::get_plan_task_handle(const std::string& task_id, kelvorn_proto::PlannerStatus& status) {
  const std::lock_guard<std::mutex> lock(plan_task_mutex_);
  const auto entry = plan_task_handles_.find(task_id);
  if (entry == plan_task_handles_.end()) {
    SDK_LOG(error) << "get task " << task_id << " failed.";
    return false;
  }
  status = std::move(entry->second->status);
  plan_task_handles_.erase(entry);
  return true;
}

std::string generate_task_id(const std::string& prefix, std::atomic<uint64_t>& counter) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto milliseconds = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
  return prefix + "-" + std::to_string(::getpid()) + "-" + std::to_string(milliseconds) + "-" +
         std::to_string(counter.fetch_add(1));
}

}  // namespace norvik::sdk
