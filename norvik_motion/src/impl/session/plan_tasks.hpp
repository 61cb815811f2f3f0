#pragma once

#include <atomic>
#include <cstdint>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include <norvik_sdk/types.hpp>

#include "impl/session/planner_wait.hpp"
#include "norvik/kelvorn_proto/mps_status.pb.h"

namespace norvik::sdk {

// One request in flight. Guarded by the mutex of PlanTasks, but for the future.
struct PlanTaskHandle {
  kelvorn_proto::PlannerStatus status;  // the last of the task, or the one that ended it
  bool has_status = false;
  bool terminated = false;
  std::promise<void> promise;  // fulfilled once, by the status that ends the task
  std::shared_future<void> future = promise.get_future().share();
};

// The requests in flight by task id. Any thread.
class PlanTasks {
 public:
  // Enters a task, before its request is sent; replaces an earlier one of that id.
  void add_plan_task_handle(const std::string& task_id);

  // Gives a status to its task. The first one that ends the task is the one that its waiter gets; later ones change
  // nothing. A status of no known task is logged, unless it names none.
  void update(const kelvorn_proto::PlannerStatus& status);

  // Waits for the end of a task: SUCCESS, TIMEOUT (also when the process shuts down), INVALID_INPUT for an unknown id.
  MotionStatus wait_plan_task_finish(const std::string& task_id, int64_t timeout_ms);

  // Takes a task's status out, and the task with it: false for an unknown id.
  bool get_plan_task_handle(const std::string& task_id, kelvorn_proto::PlannerStatus& status);

  // Ends all waits, for good.
  void stop() { stopped_.store(true); }

 private:
  bool wait_until(const std::shared_future<void>& future, PlannerTime deadline) const;

  std::mutex plan_task_mutex_;
  std::unordered_map<std::string, std::shared_ptr<PlanTaskHandle>> plan_task_handles_;
  std::atomic<bool> stopped_{false};
};

// prefix-pid-milliseconds-count, with the value of `counter` before it is raised: unique on the network.
std::string generate_task_id(const std::string& prefix, std::atomic<uint64_t>& counter);

}  // namespace norvik::sdk
