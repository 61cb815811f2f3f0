#pragma once

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "wire/planner_faults.hpp"

namespace norvik::simulator {

struct PlanTask {
  kelvorn_proto::MotionPlanServerRequest request;
  TaskFault fault = TaskFault::kNone;
  std::shared_ptr<std::promise<void>> ended;  // Fulfilled once its end has been reported.
};

// Works off tasks one after the other, on a thread of its own. Any thread may offer them.
class TaskWorker {
 public:
  static constexpr size_t kMostWaiting = 1000;

  using Run = std::function<void(const PlanTask& task)>;

  // `stopping` tells what runs that it has to end soon.
  TaskWorker(std::atomic<bool>& stopping, Run run);
  // Drops what waits, and waits for what runs.
  ~TaskWorker();
  TaskWorker(const TaskWorker&) = delete;
  TaskWorker& operator=(const TaskWorker&) = delete;

  // False when too many wait.
  bool offer(PlanTask task);

 private:
  void work();

  std::atomic<bool>& stopping_;
  const Run run_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<PlanTask> waiting_;
  std::thread thread_;  // Last: it uses the others.
};

}  // namespace norvik::simulator
