#include "impl/session/result_mailbox.hpp"

#include <algorithm>
#include <chrono>
#include <utility>

#include "ovimux/core/active_wait.hpp"
#include "ovimux/core/shutdown_tasks.hpp"

namespace norvik::sdk {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How soon a wait notices that the process shuts down.
constexpr milliseconds kShutdownCheckPeriod{50};
// Far beyond any use, and far below what a clock can be moved by.
constexpr milliseconds kLongestWait = std::chrono::hours(24 * 365);

milliseconds truncated(double seconds) {
  const double wanted = seconds * 1000.0;
  return wanted < static_cast<double>(kLongestWait.count()) ? milliseconds(static_cast<int64_t>(wanted)) : kLongestWait;
}

}  // namespace

void ResultMailbox::put(Message message) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    latest_.swap(message);  // The old one goes without the lock: a large cloud takes its time.
    has_new_ = true;
  }
  changed_.notify_one();
}

bool ResultMailbox::wait_for_new(double timeout_s) {
  const auto deadline = steady_clock::now() + truncated(timeout_s);
  const ovimux::ActiveWait active;  // Outlives the lock: it may hold the thread while the process exits.
  std::unique_lock<std::mutex> lock(mutex_);
  while (!has_new_) {
    const auto now = steady_clock::now();
    if (now >= deadline || stopped_ || !ovimux::may_send()) {
      return false;
    }
    changed_.wait_until(lock, std::min(deadline, now + kShutdownCheckPeriod));
  }
  has_new_ = false;
  return true;
}

ResultMailbox::Message ResultMailbox::latest() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return latest_;
}

void ResultMailbox::stop() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopped_ = true;
  }
  changed_.notify_all();
}

}  // namespace norvik::sdk
