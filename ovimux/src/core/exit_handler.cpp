#include "core/exit_handler.hpp"

#include <poll.h>
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

#include "core/process_state.hpp"
#include "core/signal_watcher.hpp"
#include "core/stderr_queue.hpp"
#include "dds/dds_thread.hpp"
#include "ovimux/core/exit_hold.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/threadpool/ovimux_thread_pool.hpp"

namespace norvik::ovimux {
namespace {

constexpr std::chrono::milliseconds kTimeForExitCallback{500};
constexpr std::chrono::milliseconds kTimeForCallbacks{300};
constexpr std::chrono::milliseconds kTimeForLog{200};
constexpr std::chrono::seconds kLongestClosing{3};  // Usual are some milliseconds.

std::atomic<bool> g_exiting{false};
std::atomic<pid_t> g_process{0};                // That registered the handler.
std::atomic<std::thread::id> g_exiting_thread;  // Set before g_exiting.

// Waits for no reader: neither for that of standard error nor, with a full pipe, for that of standard output.
void flush_what_can_be_written() {
  StderrQueue::instance().flush(kTimeForLog);
  pollfd writable{STDOUT_FILENO, POLLOUT, 0};
  if (::poll(&writable, 1, 0) > 0 && ::ftrylockfile(stdout) == 0) {
    ::fflush_unlocked(stdout);
  }
}

// The application's callbacks use what exit() destroys next. One that never returns is left alone.
void await_callbacks() {
  if (auto* const pool = OvimuxThreadPool::Instance(false)) {
    pool->await_idle(std::chrono::steady_clock::now() + kTimeForCallbacks);
  }
}

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
    std::unique_lock<std::mutex> lock(mutex_);
    if (!changed_.wait_for(lock, kLongestClosing, [this] { return dismissed_; })) {
      OVIMUX_LOG(kError) << "DDS did not close, ending the process without it";
      flush_what_can_be_written();
      ::_exit(status);
    }
  }

  std::mutex mutex_;
  std::condition_variable changed_;
  bool dismissed_ = false;
  std::thread thread_;
};

[[noreturn]] void park() {
  while (true) {
    ::pause();
  }
}

// Several threads in exit() would run each other's destructors, and the quickest would decide the status; all but the
// first end here, and with one of them an exit callback.
void park_second_exit(int /*status*/, void* /*unused*/) {
  if (!g_exiting.load() || std::this_thread::get_id() == g_exiting_thread.load()) {
    return;
  }
  ::on_exit(park_second_exit, nullptr);  // This registration is used up.
  if (on_shutdown_thread()) {
    note_exit_callback_done();
  }
  park();
}

// What is left of exit() when the first thread is done with the handler below: one that comes then passes it, but not
// this one, which runs nearly last.
[[gnu::constructor]] void at_loading() { ::on_exit(park_second_exit, nullptr); }

bool begin_exit() {
  static std::atomic<bool> begun{false};
  if (begun.exchange(true)) {
    return false;
  }
  g_exiting_thread.store(std::this_thread::get_id());
  g_exiting.store(true);
  return true;
}

void at_exit(int status, void* /*unused*/) {
  if (in_forked_child()) {
    return;
  }
  if (!begin_exit()) {
    park_second_exit(status, nullptr);
    return;
  }
  ::on_exit(park_second_exit, nullptr);  // Is now what a second thread in exit() meets first.
  const ExitDeadline deadline(status);
  AsyncShutdown();
  finish_shutdown_tasks();
  await_exit_callback(kTimeForExitCallback);
  if (!on_dds_thread()) {  // exit() inside a listener call: closing would wait for that very call.
    Clear();
  }
  await_callbacks();
  StderrQueue::instance().flush(kTimeForLog);
}

// The handler of a program that was over before anything was started; a thread may be about to. The static objects of
// the libraries that this one needs are still there: an exit handler registered so early would run behind their
// destruction.
[[gnu::destructor]] void at_unloading() {
  if (!in_forked_child() && begin_exit()) {
    Clear();
  }
}

}  // namespace

void register_exit_handler() {
  pid_t unknown = 0;
  g_process.compare_exchange_strong(unknown, ::getpid());
  ::on_exit(at_exit, nullptr);  // Unlike atexit, tells the status.
}

bool in_forked_child() { return g_process.load() != 0 && g_process.load() != ::getpid(); }

bool process_is_exiting() { return g_exiting.load(); }

void hold_while_exiting() {
  constexpr std::chrono::milliseconds kLongestHold{400};
  thread_local bool was_held = false;
  if (g_exiting.load() && std::this_thread::get_id() != g_exiting_thread.load() && !has_closing_pass() &&
      !OvimuxThreadPool::on_worker() && !std::exchange(was_held, true)) {
    std::this_thread::sleep_for(kLongestHold);
  }
}

}  // namespace norvik::ovimux
