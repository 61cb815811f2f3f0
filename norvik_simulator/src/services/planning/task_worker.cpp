#include "services/planning/task_worker.hpp"

#include <utility>

namespace norvik::simulator {

TaskWorker::TaskWorker(std::atomic<bool>& stopping, Run run)
    : stopping_(stopping), run_(std::move(run)), thread_([this] { work(); }) {}

TaskWorker::~TaskWorker() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

bool TaskWorker::offer(PlanTask task) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (waiting_.size() >= kMostWaiting) {
      return false;
    }
    waiting_.push_back(std::move(task));
  }
  changed_.notify_one();
  return true;
}

void TaskWorker::work() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return stopping_ || !waiting_.empty(); });
    if (stopping_) {
      return;
    }
    const PlanTask task = std::move(waiting_.front());
    waiting_.pop_front();
    lock.unlock();
    run_(task);
    task.ended->set_value();
    lock.lock();
  }
}

}  // namespace norvik::simulator
