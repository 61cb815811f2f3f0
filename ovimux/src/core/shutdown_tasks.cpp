#include "ovimux/core/shutdown_tasks.hpp"

#include <algorithm>
#include <exception>
#include <utility>

#include "core/exit_handler.hpp"
#include "core/process_state.hpp"
#include "ovimux/core/exit_hold.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::steady_clock;

constexpr std::chrono::milliseconds kTimeOfAllTasks{500};
// For a task that returns a little late.
constexpr std::chrono::milliseconds kGrace{100};
// The destruction of a task that still runs pulls away what it works on, so it is more patient.
constexpr std::chrono::seconds kGraceOfDestruction{1};

thread_local int t_passes = 0;
std::atomic<int> g_passes{0};

void run_guarded(const ShutdownTask::Function& task, steady_clock::time_point deadline) {
  try {
    task(deadline);
  } catch (const std::exception& error) {
    OVIMUX_LOG(kError) << "exception in a shutdown task: " << error.what();
  } catch (...) {
    OVIMUX_LOG(kError) << "unknown exception in a shutdown task";
  }
}

// The lock is open while a task runs.
void run_all(ProcessState& state, std::unique_lock<std::mutex>& lock) {
  const ClosingPass pass;
  state.tasks_claimed = true;
  state.task_thread = std::this_thread::get_id();
  state.task_deadline = steady_clock::now() + kTimeOfAllTasks;
  while (!state.tasks.empty()) {
    const auto task = std::move(state.tasks.back());
    state.tasks.pop_back();
    state.running_task = task;
    lock.unlock();
    run_guarded(*task, state.task_deadline);
    lock.lock();
    state.running_task.reset();
    state.changed.notify_all();
  }
  state.tasks_done = true;
  state.changed.notify_all();
}

}  // namespace

ShutdownTask::ShutdownTask(Function task) : task_(std::make_shared<const Function>(std::move(task))) {
  register_exit_handler();  // Anew, so that the task runs before whatever owns it is destroyed by exit().
  auto& state = process_state();
  const std::lock_guard<std::mutex> lock(state.mutex);
  if (!state.tasks_done) {
    state.tasks.push_back(task_);
  }
}

ShutdownTask::~ShutdownTask() {
  if (in_forked_child()) {
    return;
  }
  auto& state = process_state();
  std::unique_lock<std::mutex> lock(state.mutex);
  state.tasks.erase(std::remove(state.tasks.begin(), state.tasks.end(), task_), state.tasks.end());
  if (state.running_task == task_ && state.task_thread != std::this_thread::get_id()) {
    state.changed.wait_until(lock, state.task_deadline + kGraceOfDestruction,
                             [&] { return state.running_task != task_; });
  }
}

void finish_shutdown_tasks() {
  auto& state = process_state();
  std::unique_lock<std::mutex> lock(state.mutex);
  if (!state.tasks_claimed) {
    run_all(state, lock);
  } else if (state.task_thread != std::this_thread::get_id()) {
    state.changed.wait_until(lock, state.task_deadline + kGrace, [&] { return state.tasks_done; });
  }
}

ClosingPass::ClosingPass() {
  ++t_passes;
  ++g_passes;
}

ClosingPass::~ClosingPass() {
  --t_passes;
  --g_passes;
}

bool has_closing_pass() { return t_passes > 0; }

bool sleep_while_running(steady_clock::time_point deadline) {
  auto& state = process_state();
  std::unique_lock<std::mutex> lock(state.mutex);
  const bool stopped = state.requested.wait_until(lock, deadline, [&] { return state.shutdown_requested(); });
  lock.unlock();
  hold_while_exiting();
  return !stopped;
}

bool may_send() { return OK() || (has_closing_pass() && process_state().phase.load() == Phase::kClosing); }

bool delivers_answers() { return OK() || (g_passes.load() > 0 && process_state().phase.load() == Phase::kClosing); }

}  // namespace norvik::ovimux
