#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <mutex>
#include <thread>

namespace norvik::simulator {

// Runs actions at a later time on a thread of its own. What is still waiting when it is destroyed is dropped.
class DelayQueue {
 public:
  DelayQueue();
  ~DelayQueue();
  DelayQueue(const DelayQueue&) = delete;
  DelayQueue& operator=(const DelayQueue&) = delete;

  void run_after(std::chrono::milliseconds delay, std::function<void()> action);

  // Drops what is waiting, and returns when nothing runs any more. Nothing is taken after it.
  void close();

 private:
  using Clock = std::chrono::steady_clock;

  void run();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::multimap<Clock::time_point, std::function<void()>> actions_;
  bool closed_ = false;
  std::thread thread_;
};

}  // namespace norvik::simulator
