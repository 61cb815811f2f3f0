#include "ovimux/threadpool/ovimux_thread_pool.hpp"

#include <algorithm>
#include <exception>

#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/log.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::ovimux {
namespace {

thread_local const OvimuxThreadPool* t_worked_pool = nullptr;

// An exception of a user callback must not end the process; the worker goes on with the next task.
void run_guarded(Task& task) {
  try {
    task.run();
  } catch (const std::exception& exception) {
    OVIMUX_LOG(kError) << "exception in callback: " << exception.what();
  } catch (...) {
    OVIMUX_LOG(kError) << "unknown exception in callback";
  }
}

}  // namespace

bool OvimuxThreadPool::on_worker() { return t_worked_pool != nullptr; }

OvimuxThreadPool* OvimuxThreadPool::Instance(bool create) {
  static std::mutex mutex;
  static std::atomic<OvimuxThreadPool*> instance{nullptr};
  if (auto* pool = instance.load(); pool != nullptr || !create) {
    return pool;
  }
  const std::lock_guard<std::mutex> lock(mutex);
  if (instance.load() == nullptr) {
    const unsigned workers = std::max(4U, std::thread::hardware_concurrency());
    instance.store(new OvimuxThreadPool(workers, kDefaultCapacity, OverflowPolicy::kDiscard));
  }
  return instance.load();
}

OvimuxThreadPool::OvimuxThreadPool(unsigned worker_count, size_t capacity, OverflowPolicy policy)
    : capacity_(capacity), policy_(policy) {
  ready_.store(true);
  workers_.reserve(worker_count);
  for (unsigned i = 0; i < worker_count; ++i) {
    workers_.emplace_back([this] { work(); });
  }
}

OvimuxThreadPool::~OvimuxThreadPool() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ready_.store(false);
  }
  task_added_.notify_all();
  for (auto& worker : workers_) {
    worker.join();
  }
}

bool OvimuxThreadPool::push(const std::shared_ptr<Task>& task) {
  if (!OK() || !ready_.load()) {
    OVIMUX_LOG(kError) << "threadpool not ready";
    task->cancel_request();
    return false;
  }
  return admit(task);
}

bool OvimuxThreadPool::push_arrival(const std::shared_ptr<Task>& task) {
  if (!delivers_answers() || !ready_.load()) {
    OVIMUX_LOG(kDebug) << "threadpool not ready, shutting down";
    task->cancel_request();
    return false;
  }
  return admit(task);
}

bool OvimuxThreadPool::admit(const std::shared_ptr<Task>& task) {
  if (enqueue(task)) {
    task_added_.notify_one();  // Not under the lock, which the woken worker takes at once.
    return true;
  }
  OVIMUX_LOG(kError) << "All queues full................";
  task->cancel_request();
  handle_overflow(task);
  return false;
}

bool OvimuxThreadPool::enqueue(const std::shared_ptr<Task>& task) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (tasks_.size() >= capacity_) {
    return false;
  }
  tasks_.push_back(task);
  return true;
}

void OvimuxThreadPool::handle_overflow(const std::shared_ptr<Task>& task) {
  switch (policy_.load()) {
    case OverflowPolicy::kAbort:
      OVIMUX_LOG(kError) << "All queues full: Abort Policy";
      break;
    case OverflowPolicy::kCallerRuns:
      OVIMUX_LOG(kError) << "All queues full: CallerRuns Policy";
      if (OK()) {
        run_guarded(*task);
      }
      break;
    case OverflowPolicy::kDiscard:
      OVIMUX_LOG(kError) << "All queues full: Discard Policy";
      break;
    case OverflowPolicy::kDiscardOldest:
      OVIMUX_LOG(kError) << "All queues full: DiscardOldest Policy";
      drop_oldest();
      break;
  }
}

void OvimuxThreadPool::drop_oldest() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!tasks_.empty()) {
    tasks_.front()->cancel_request();
    tasks_.pop_front();
  }
}

std::shared_ptr<Task> OvimuxThreadPool::next_task() {
  std::unique_lock<std::mutex> lock(mutex_);
  task_added_.wait(lock, [this] { return !tasks_.empty() || !ready_.load(); });
  if (!ready_.load()) {
    return nullptr;
  }
  auto task = std::move(tasks_.front());
  tasks_.pop_front();
  ++busy_;
  return task;
}

bool OvimuxThreadPool::await_idle(std::chrono::steady_clock::time_point deadline) {
  constexpr std::chrono::milliseconds kPeriod{2};
  const unsigned own = t_worked_pool == this ? 1 : 0;
  while (busy_.load() > own && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(kPeriod);
  }
  return busy_.load() <= own;
}

void OvimuxThreadPool::work() {
  t_worked_pool = this;
  while (auto task = next_task()) {
    run_guarded(*task);
    task.reset();  // May be the last owner of what the application handed in.
    --busy_;
  }
}

}  // namespace norvik::ovimux
