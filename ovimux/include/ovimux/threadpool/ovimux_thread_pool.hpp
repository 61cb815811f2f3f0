#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "ovimux/export.hpp"
#include "ovimux/threadpool/task.hpp"

namespace norvik::ovimux {

// What happens to a new task when the pool is full.
enum class OverflowPolicy : int32_t {
  kAbort = 0,          // Refused.
  kCallerRuns = 1,     // Run by the pushing thread, which may be a DDS thread; the push still reports false.
  kDiscard = 2,        // Refused.
  kDiscardOldest = 3,  // Refused, and the oldest queued task is dropped to make room for the next push.
};

// The workers on which all reader callbacks and response handling run. A callback may block, also in a request; as long
// as one worker is left, answers keep arriving.
class OVIMUX_EXPORT OvimuxThreadPool {
 public:
  static constexpr size_t kDefaultCapacity = 4096;

  // The process's pool: max(4, hardware threads) workers. Never destroyed, so that callbacks may run until the process
  // is gone. Null when it was never made and `create` is false.
  static OvimuxThreadPool* Instance(bool create = true);

  OvimuxThreadPool(unsigned worker_count, size_t capacity, OverflowPolicy policy);
  ~OvimuxThreadPool();
  OvimuxThreadPool(const OvimuxThreadPool&) = delete;
  OvimuxThreadPool& operator=(const OvimuxThreadPool&) = delete;

  // True when `task` was queued.
  template <typename T>
  bool push_task(const std::shared_ptr<T>& task) {
    return push(task);
  }

  // The same for a task that an arriving sample asks for: that the middleware stops meanwhile is no error, and answers
  // are still handled while it closes.
  bool push_arrival(const std::shared_ptr<Task>& task);

  // Waits until no worker runs a task, that of the calling thread left out; false when `deadline` came first.
  bool await_idle(std::chrono::steady_clock::time_point deadline);

  void set_policy(OverflowPolicy policy) { policy_.store(policy); }
  // True on the worker threads of any pool.
  static bool on_worker();

  unsigned worker_count() const { return static_cast<unsigned>(workers_.size()); }

 private:
  bool push(const std::shared_ptr<Task>& task);
  bool admit(const std::shared_ptr<Task>& task);
  bool enqueue(const std::shared_ptr<Task>& task);
  void handle_overflow(const std::shared_ptr<Task>& task);
  void drop_oldest();
  void work();
  std::shared_ptr<Task> next_task();

  const size_t capacity_;
  std::deque<std::shared_ptr<Task>> tasks_;
  std::mutex mutex_;
  std::condition_variable task_added_;
  std::atomic<unsigned> busy_{0};
  std::atomic<OverflowPolicy> policy_;
  std::atomic<bool> ready_{false};
  std::vector<std::thread> workers_;
};

}  // namespace norvik::ovimux
