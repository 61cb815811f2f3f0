#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// What has to be done between the request of a shutdown (by a signal, AsyncShutdown(), Clear() or exit()) and the
// closing of the middleware. Runs once, on a thread of the middleware or on the one that closes it, at the latest with
// `deadline`, 500 ms after the request for all tasks together, before it. May publish and send requests although OK()
// is false, and should not wait longer than `deadline`. Blocking calls on other threads wake up at the same moment, so
// what a task has to know of them must outlive their waits. A task that is registered when the tasks have run never
// does.
class OVIMUX_EXPORT ShutdownTask {
 public:
  using Function = std::function<void(std::chrono::steady_clock::time_point deadline)>;

  explicit ShutdownTask(Function task);
  // Waits, for at most a second beyond the deadline, while the task runs on another thread.
  ~ShutdownTask();
  ShutdownTask(const ShutdownTask&) = delete;
  ShutdownTask& operator=(const ShutdownTask&) = delete;

 private:
  const std::shared_ptr<const Function> task_;
};

// While one lives on a thread, that thread may publish, send requests and receive their answers after OK() has turned
// false, until the middleware closes. To be destroyed on the thread that made it. A ShutdownTask runs with one.
class OVIMUX_EXPORT ClosingPass {
 public:
  ClosingPass();
  ~ClosingPass();
  ClosingPass(const ClosingPass&) = delete;
  ClosingPass& operator=(const ClosingPass&) = delete;
};

// Sleeps until `deadline` and returns true, or returns false at once when a shutdown is or was asked for.
OVIMUX_EXPORT bool sleep_while_running(std::chrono::steady_clock::time_point deadline);

// True while the calling thread may send: OK(), or until the middleware closes if the thread has a ClosingPass.
OVIMUX_EXPORT bool may_send();

// True while answers to requests are delivered: OK(), or until the middleware closes if any thread has a ClosingPass.
OVIMUX_EXPORT bool delivers_answers();

}  // namespace norvik::ovimux
