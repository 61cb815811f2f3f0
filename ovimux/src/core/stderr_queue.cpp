#include "core/stderr_queue.hpp"

#include <poll.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

namespace norvik::ovimux {
namespace {

constexpr std::chrono::milliseconds kFlushAtExit{200};

// Also through a descriptor that somebody has made non-blocking. Gives up when nobody can read any more.
void write_all(const std::string& text) {
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t count = ::write(STDERR_FILENO, text.data() + done, text.size() - done);
    if (count >= 0) {
      done += static_cast<size_t>(count);
    } else if (errno == EAGAIN) {
      pollfd writable{STDERR_FILENO, POLLOUT, 0};
      ::poll(&writable, 1, -1);
    } else if (errno != EINTR) {
      return;
    }
  }
}

// The application's handlers are for its own threads, and a broken pipe is no reason to end the process.
void block_all_signals() {
  sigset_t all;
  sigfillset(&all);
  pthread_sigmask(SIG_BLOCK, &all, nullptr);
}

}  // namespace

StderrQueue& StderrQueue::instance() {
  static auto* const instance = new StderrQueue;
  return *instance;
}

StderrQueue::StderrQueue() : owner_process_(::getpid()) {
  try {
    std::thread([this] { run(); }).detach();
    has_thread_ = true;
  } catch (const std::system_error&) {
    return;  // No thread to be had: the lines are counted and lost.
  }
  ::on_exit([](int, void*) { instance().flush(kFlushAtExit); }, nullptr);
}

void StderrQueue::push(std::string line) {
  if (owner_process_ != ::getpid()) {
    return;  // A forked child: the lock may have been held at that moment, by a thread that it does not have.
  }
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    // Once lines are dropped, so are the next ones until half of the queue is free: one gap and one count, not many.
    if (!has_thread_ || lines_.size() >= (dropped_ > 0 ? kCapacity / 2 : kCapacity)) {
      ++dropped_;
      return;
    }
    note_dropped();
    lines_.push_back(std::move(line));
  }
  added_.notify_one();
}

// Where the dropped lines would have stood.
void StderrQueue::note_dropped() {
  if (dropped_ > 0) {
    lines_.push_back("ovimux: standard error was not read in time, " + std::to_string(std::exchange(dropped_, 0)) +
                     " lines dropped\n");
  }
}

std::string StderrQueue::next() {
  std::unique_lock<std::mutex> lock(mutex_);
  writing_ = false;
  if (lines_.empty()) {
    note_dropped();
  }
  if (lines_.empty()) {
    written_.notify_all();
  }
  added_.wait(lock, [this] { return !lines_.empty(); });
  writing_ = true;
  std::string line = std::move(lines_.front());
  lines_.pop_front();
  return line;
}

void StderrQueue::run() {
  block_all_signals();
  while (true) {
    write_all(next());
  }
}

void StderrQueue::flush(std::chrono::milliseconds limit) {
  if (owner_process_ != ::getpid()) {
    return;
  }
  std::unique_lock<std::mutex> lock(mutex_);
  if (has_thread_) {
    written_.wait_for(lock, limit, [this] { return lines_.empty() && !writing_; });
  }
}

}  // namespace norvik::ovimux
