#include "core/process_state.hpp"

#include <exception>
#include <utility>

#include "core/exit_handler.hpp"
#include "core/signal_watcher.hpp"
#include "dds/dds_thread.hpp"
#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/exit_hold.hpp"
#include "ovimux/dds/dds_node_factory.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

void run_exit_callback() {
  auto& state = process_state();
  std::unique_lock<std::mutex> lock(state.mutex);
  const auto callback = state.exit_callback;
  const auto predicate = state.exit_predicate;
  lock.unlock();
  try {
    if (callback && (!predicate || predicate())) {
      callback();
    }
  } catch (const std::exception& error) {
    OVIMUX_LOG(kError) << "exception in the exit callback: " << error.what();
  } catch (...) {
    OVIMUX_LOG(kError) << "unknown exception in the exit callback";
  }
}

// On the shutdown thread. The robot is told to stop before the application is told anything.
void on_shutdown_event(bool by_signal) {
  if (by_signal) {
    OVIMUX_LOG(kInfo) << "termination signal received, shutting down";
    AsyncShutdown();
  }
  finish_shutdown_tasks();
  if (by_signal) {
    run_exit_callback();
    note_exit_callback_done();
  }
}

bool exit_callback_is_over(const ProcessState& state) {
  return !termination_signalled() || state.exit_callback_done || on_shutdown_thread();
}

}  // namespace

ProcessState& process_state() {
  static auto* const instance = new ProcessState;
  return *instance;
}

void note_exit_callback_done() {
  auto& state = process_state();
  {
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.exit_callback_done = true;
  }
  state.changed.notify_all();
}

void await_exit_callback(std::chrono::milliseconds limit) {
  auto& state = process_state();
  std::function<void()> unused;  // Dies after the lock is released.
  std::unique_lock<std::mutex> lock(state.mutex);
  state.changed.wait_for(lock, limit, [&] { return exit_callback_is_over(state); });
  // A signal that comes later finds none: what it would work with is being destroyed.
  unused.swap(state.exit_callback);
}

void OvimuxInitInternal() {
  auto& state = process_state();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (state.initialised) {
    return;
  }
  state.initialised = true;
  start_shutdown_thread(on_shutdown_event);
  register_exit_handler();  // A process may end while its first participant is being made.
  state.phase.store(Phase::kRunning);
}

bool OK() {
  static const auto& phase = process_state().phase;
  return phase.load(std::memory_order_acquire) == Phase::kRunning;
}

void AsyncShutdown() {
  auto& state = process_state();
  {
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.initialised = true;  // A core that was told to stop before its start stays stopped.
    if (state.shutdown_requested()) {
      return;
    }
    state.phase.store(Phase::kClosing);
  }
  state.requested.notify_all();
  wake_shutdown_thread();
}

void WaitForShutdown() {
  auto& state = process_state();
  std::unique_lock<std::mutex> lock(state.mutex);
  state.requested.wait(lock, [&] { return state.shutdown_requested(); });
  lock.unlock();
  finish_shutdown_tasks();
  lock.lock();
  state.changed.wait(lock, [&] { return state.active_waits == 0 && exit_callback_is_over(state); });
  lock.unlock();
  hold_while_exiting();
}

ActiveWait::ActiveWait() {
  auto& state = process_state();
  const std::lock_guard<std::mutex> lock(state.mutex);
  ++state.active_waits;
}

ActiveWait::~ActiveWait() {
  auto& state = process_state();
  {
    const std::lock_guard<std::mutex> lock(state.mutex);
    --state.active_waits;
  }
  state.changed.notify_all();
  hold_while_exiting();
}

void OvimuxSetExitCallback(std::function<void()> callback, std::function<bool()> predicate) {
  auto& state = process_state();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (!process_is_exiting()) {
    state.exit_callback.swap(callback);  // The old ones die after the lock is released.
    state.exit_predicate.swap(predicate);
  }
}

void Clear() {
  AsyncShutdown();
  finish_shutdown_tasks();
  {
    auto& state = process_state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.phase.store(Phase::kClosed);
  }
  run_off_dds_threads([] { DDSNodeFactory::Instance(true)->CloseAll(); });
}

}  // namespace norvik::ovimux
