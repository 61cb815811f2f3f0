#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// A unit of work that may be pushed many times but runs on one worker at a time.
class OVIMUX_EXPORT Task {
 public:
  enum State : int32_t { kNoFunction = -1, kIdle = 0, kRunning = 1 };

  Task() = default;
  explicit Task(std::function<void()> function);
  Task(const Task&) = delete;
  Task& operator=(const Task&) = delete;

  int32_t state() const { return state_.load(); }
  void set_state(State state) { state_.store(state); }
  bool is_running() const { return state() == kRunning; }

  // Asks for a run because there is new work. True when the caller must push the task: it is neither queued already nor
  // running. A running task sees the request after its function returns and runs again, so work that arrives between
  // "found nothing more to do" and "idle" is never stranded.
  bool request_run();

  // Takes a request back, because the pool refused or dropped the task; the next request_run() asks for a push again.
  void cancel_request() { requested_.store(false); }

  // Runs the function unless a run is active on another thread. Requests that arrive meanwhile are served here too.
  // An exception of the function leaves the task idle, without a request, and goes up to the caller.
  void run();

 private:
  bool try_enter();
  void run_once();

  std::atomic<int32_t> state_{kNoFunction};
  std::atomic<bool> requested_{false};
  std::function<void()> function_;
};

}  // namespace norvik::ovimux
