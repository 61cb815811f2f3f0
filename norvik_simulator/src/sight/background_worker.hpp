#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace norvik::simulator {

// Does one job after the other on a thread of its own. For what takes too long for the thread that steps.
class BackgroundWorker {
 public:
  BackgroundWorker();
  // Waits for the running job.
  ~BackgroundWorker();
  BackgroundWorker(const BackgroundWorker&) = delete;
  BackgroundWorker& operator=(const BackgroundWorker&) = delete;

  // False while a job waits or runs.
  bool is_idle() const;
  // To be called when it is idle, always by the same thread.
  void start(std::function<void()> job);

 private:
  void run();

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::function<void()> job_;
  bool busy_ = false;
  bool closed_ = false;
  std::thread thread_;
};

}  // namespace norvik::simulator
