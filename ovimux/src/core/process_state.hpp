#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ovimux/core/shutdown_tasks.hpp"

namespace norvik::ovimux {

// The life of the middleware, one way only.
enum class Phase : int { kUnstarted, kRunning, kClosing, kClosed };

// Never destroyed: any thread may ask at any time, also while static objects are being destroyed.
struct ProcessState {
  using Task = std::shared_ptr<const ShutdownTask::Function>;

  std::atomic<Phase> phase{Phase::kUnstarted};

  std::mutex mutex;                   // Guards what follows, and the changes of `phase`.
  std::condition_variable requested;  // A shutdown was asked for.
  std::condition_variable changed;    // Something that the end of a shutdown depends on.
  bool initialised = false;
  int active_waits = 0;

  std::vector<Task> tasks;  // To be run, the last one first.
  Task running_task;
  bool tasks_claimed = false;
  bool tasks_done = false;
  std::thread::id task_thread;
  std::chrono::steady_clock::time_point task_deadline;

  std::function<void()> exit_callback;
  std::function<bool()> exit_predicate;
  bool exit_callback_done = false;

  bool shutdown_requested() const { return phase.load() >= Phase::kClosing; }
};

ProcessState& process_state();

bool has_closing_pass();

// Runs the shutdown tasks, or waits for the thread that does, until their deadline has passed by a little.
void finish_shutdown_tasks();

// An exit callback that a signal has set off has returned, or will never.
void note_exit_callback_done();

// Waits for it, if a signal came; not on the thread that runs it.
void await_exit_callback(std::chrono::milliseconds limit);

}  // namespace norvik::ovimux
