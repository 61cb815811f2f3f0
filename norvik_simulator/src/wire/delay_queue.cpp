#include "wire/delay_queue.hpp"

#include <utility>

namespace norvik::simulator {

DelayQueue::DelayQueue() : thread_([this] { run(); }) {}

DelayQueue::~DelayQueue() { close(); }

void DelayQueue::run_after(std::chrono::milliseconds delay, std::function<void()> action) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    actions_.emplace(Clock::now() + delay, std::move(action));
  }
  changed_.notify_one();
}

void DelayQueue::close() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  changed_.notify_one();
  if (thread_.joinable()) {
    thread_.join();
  }
}

void DelayQueue::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (!closed_) {
    if (actions_.empty()) {
      changed_.wait(lock);
      continue;
    }
    const auto next = actions_.begin();
    if (next->first > Clock::now()) {
      const Clock::time_point due = next->first;
      changed_.wait_until(lock, due);
      continue;
    }
    const auto action = std::move(next->second);
    actions_.erase(next);
    lock.unlock();
    action();
    lock.lock();
  }
}

}  // namespace norvik::simulator
