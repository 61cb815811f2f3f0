#include "core/process_state.hpp"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <mutex>
#include <thread>
#include <utility>

#include "core/signal_watcher.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/exit_hold.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

std::atomic<bool> g_running{false};
std::atomic<bool> g_exiting{false};

// Never destroyed: any thread may ask at any time, also while static objects are being destroyed.
struct ProcessState {
  std::mutex mutex;
  std::condition_variable changed;
  bool initialised = false;
  bool shutdown_requested = false;
  int active_waits = 0;
  std::function<void()> exit_callback;
  std::function<bool()> exit_predicate;
};

ProcessState& state() {
  static auto* const instance = new ProcessState;
  return *instance;
}

void run_exit_callback() {
  std::unique_lock<std::mutex> lock(state().mutex);
  const auto callback = state().exit_callback;
  const auto predicate = state().exit_predicate;
  lock.unlock();
  if (callback && (!predicate || predicate())) {
    callback();
  }
}

void on_termination_signal() {
  OVIMUX_LOG(kInfo) << "termination signal received, shutting down";
  AsyncShutdown();
  run_exit_callback();
}

void (*g_exit_handler)() = nullptr;
std::thread::id g_exiting_thread;  // Set before g_exiting.

// Ends the process, with the status that it was to have, when it has not been dismissed in time. DDS may never come
// back from closing: it can lock up when peers leave under load.
class ExitDeadline {
 public:
  explicit ExitDeadline(int status) {
    try {
      thread_ = std::thread([this, status] { wait(status); });
    } catch (const std::exception& error) {
      OVIMUX_LOG(kWarning) << "no thread to watch the closing of DDS: " << error.what();
    }
  }
  ~ExitDeadline() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      dismissed_ = true;
    }
    changed_.notify_all();
    if (thread_.joinable()) {
      thread_.join();
    }
  }
  ExitDeadline(const ExitDeadline&) = delete;
  ExitDeadline& operator=(const ExitDeadline&) = delete;

 private:
  void wait(int status) {
    constexpr std::chrono::seconds kLongestClosing{5};  // Usual are some milliseconds.
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, kLongestClosing, [this] { return dismissed_; })) {
      OVIMUX_LOG(kError) << "DDS did not close, ending the process without it";
      std::fflush(stdout);
      ::_exit(status);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool dismissed_ = false;
  std::thread thread_;
};

void at_exit(int status, void* /*unused*/) {
  g_exiting_thread = std::this_thread::get_id();
  g_exiting.store(true);
  g_running.store(false);
  const ExitDeadline deadline(status);
  g_exit_handler();
}

}  // namespace

void register_exit_handler(void (*handler)()) {
  static std::once_flag once;
  std::call_once(once, [handler] {
    g_exit_handler = handler;
    ::on_exit(at_exit, nullptr);  // Unlike atexit, tells the status.
  });
}

bool process_is_exiting() { return g_exiting.load(); }

void OvimuxInitInternal() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  if (state().initialised) {
    return;
  }
  state().initialised = true;
  watch_termination_signals(on_termination_signal);
  g_running.store(true);
}

bool OK() { return g_running.load(std::memory_order_acquire); }

void AsyncShutdown() {
  {
    const std::lock_guard<std::mutex> lock(state().mutex);
    state().initialised = true;  // A core that was told to stop before its start stays stopped.
    state().shutdown_requested = true;
    g_running.store(false);
  }
  state().changed.notify_all();
}

void WaitForShutdown() {
  std::unique_lock<std::mutex> lock(state().mutex);
  state().changed.wait(lock, [] { return state().shutdown_requested && state().active_waits == 0; });
}

ActiveWait::ActiveWait() {
  const std::lock_guard<std::mutex> lock(state().mutex);
  ++state().active_waits;
}

ActiveWait::~ActiveWait() {
  {
    const std::lock_guard<std::mutex> lock(state().mutex);
    --state().active_waits;
  }
  state().changed.notify_all();
  hold_while_exiting();
}

void hold_while_exiting() {
  constexpr std::chrono::seconds kLongestHold{10};  // For a program that joins its threads at its very end.
  if (g_exiting.load() && std::this_thread::get_id() != g_exiting_thread) {
    std::this_thread::sleep_for(kLongestHold);
  }
}

bool ActiveWait::sleep_until(std::chrono::steady_clock::time_point deadline) const {
  std::unique_lock<std::mutex> lock(state().mutex);
  return !state().changed.wait_until(lock, deadline, [] { return state().shutdown_requested; });
}

void OvimuxSetExitCallback(std::function<void()> callback, std::function<bool()> predicate) {
  const std::lock_guard<std::mutex> lock(state().mutex);
  state().exit_callback = std::move(callback);
  state().exit_predicate = std::move(predicate);
}

void Clear() {
  AsyncShutdown();
  DDSNodeFactory::Instance(true)->CloseAll();
}

}  // namespace norvik::ovimux
