#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace norvik::sdk {

// Whoever watches what becomes of a goal: a thread in the background, or a blocking call on its caller's. There is one
// at most; the next one ends the one before. Any thread, but not from within a watch.
class GoalWatcher {
 public:
  GoalWatcher() = default;
  ~GoalWatcher() { reset_navi_control_thread(); }
  GoalWatcher(const GoalWatcher&) = delete;
  GoalWatcher& operator=(const GoalWatcher&) = delete;

  // Tells the watch to end and waits until it has: for its present sleep, and the stop that it sends.
  void reset_navi_control_thread();

  // Runs `watch` in the background. False, with nothing running, when the system has no thread for it.
  bool start(std::function<void()> watch);

  // A watch on the calling thread begins and ends with this object.
  class OnThisThread {
   public:
    explicit OnThisThread(GoalWatcher& watcher);
    ~OnThisThread();
    OnThisThread(const OnThisThread&) = delete;
    OnThisThread& operator=(const OnThisThread&) = delete;

   private:
    GoalWatcher& watcher_;
  };

  // What a watch asks before each look.
  bool goes_on() const { return navi_control_running_.load(); }

 private:
  // Ends the watch that is there and takes its place.
  void claim();
  void wait_for_end(std::unique_lock<std::mutex>& lock);
  void end();

  std::atomic<bool> navi_control_running_{false};
  std::mutex mutex_;  // Of what follows.
  std::condition_variable ended_;
  bool taken_ = false;  // A watch is there, or about to begin.
  std::thread navi_control_thread_;
};

}  // namespace norvik::sdk
