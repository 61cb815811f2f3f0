#include "ovimux/threadpool/task.hpp"

#include <utility>

#include "ovimux/log.hpp"

namespace norvik::ovimux {

Task::Task(std::function<void()> function) : function_(std::move(function)) { state_.store(kIdle); }

bool Task::request_run() { return !requested_.exchange(true) && !is_running(); }

void Task::run() {
  // The order matters: requested_ is cleared before the function looks for work, and looked at again after the state is
  // idle. A request in between either finds the state running, and is seen here, or finds it idle and pushes the task.
  do {
    if (!try_enter()) {
      OVIMUX_LOG(kDebug) << "Task already running...";
      return;
    }
    run_once();
  } while (requested_.load());
}

bool Task::try_enter() {
  int32_t state = state_.load();
  while (state != kRunning) {
    if (state_.compare_exchange_weak(state, kRunning)) {
      return true;
    }
  }
  return false;
}

void Task::run_once() {
  requested_.store(false);
  try {
    if (function_) {
      function_();
    } else {
      OVIMUX_LOG(kError) << "No function set for task.";
    }
  } catch (...) {
    // Nobody looks at a request that came meanwhile; kept, it would keep every later one from pushing the task. Cleared
    // only when the state is idle, so that no request can come in between and find the task running.
    state_.store(kIdle);
    requested_.store(false);
    throw;
  }
  state_.store(kIdle);
}

}  // namespace norvik::ovimux
