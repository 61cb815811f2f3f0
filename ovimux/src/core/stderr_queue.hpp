#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>

namespace norvik::ovimux {

// Lines on their way to standard error. Threads that add one never wait for its reader: one thread of its own writes,
// and what does not fit into the queue is dropped and counted; the count takes the place of the lines. Never destroyed.
class StderrQueue {
 public:
  static constexpr size_t kCapacity = 2000;

  static StderrQueue& instance();

  // `line` ends with a newline.
  void push(std::string line);

  // Waits until everything has been written, but not longer than `limit`.
  void flush(std::chrono::milliseconds limit);

 private:
  StderrQueue();
  void run();
  void note_dropped();
  std::string next();

  std::mutex mutex_;
  std::condition_variable added_;
  std::condition_variable written_;
  std::deque<std::string> lines_;
  uint64_t dropped_ = 0;
  bool writing_ = false;
  bool has_thread_ = false;
  const int owner_process_;  // A forked child has the lines but not the thread.
};

}  // namespace norvik::ovimux
