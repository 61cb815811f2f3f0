#include "impl/session/goal_watcher.hpp"

#include <system_error>
#include <utility>

#include "sdk_log.hpp"

namespace norvik::sdk {

void GoalWatcher::reset_navi_control_thread() {
  navi_control_running_ = false;
  std::unique_lock<std::mutex> lock(mutex_);
  wait_for_end(lock);
}

// A thread that has ended its watch takes no lock any more, so that it can be joined under this one.
void GoalWatcher::wait_for_end(std::unique_lock<std::mutex>& lock) {
  ended_.wait(lock, [this] { return !taken_; });
  if (navi_control_thread_.joinable()) {
    navi_control_thread_.join();
  }
}

void GoalWatcher::claim() {
  navi_control_running_ = false;
  std::unique_lock<std::mutex> lock(mutex_);
  wait_for_end(lock);
  taken_ = true;
  navi_control_running_ = true;
}

void GoalWatcher::end() {
  const std::lock_guard<std::mutex> lock(mutex_);
  taken_ = false;
  ended_.notify_all();
}

bool GoalWatcher::start(std::function<void()> watch) {
  claim();
  const std::lock_guard<std::mutex> lock(mutex_);
  try {
    navi_control_thread_ = std::thread([this, watch = std::move(watch)] {
      watch();
      end();
    });
  } catch (const std::system_error& error) {
    SDK_LOG(error) << "navigation watcher thread create fail: " << error.what();
    taken_ = false;
    ended_.notify_all();
    return false;
  }
  return true;
}

GoalWatcher::OnThisThread::OnThisThread(GoalWatcher& watcher) : watcher_(watcher) { watcher_.claim(); }

GoalWatcher::OnThisThread::~OnThisThread() { watcher_.end(); }

}  // namespace norvik::sdk
