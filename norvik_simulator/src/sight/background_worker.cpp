#include "sight/background_worker.hpp"

namespace norvik::simulator {

BackgroundWorker::BackgroundWorker() : thread_([this] { run(); }) {}

BackgroundWorker::~BackgroundWorker() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    closed_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

bool BackgroundWorker::is_idle() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return !busy_;
}

void BackgroundWorker::start(std::function<void()> job) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    job_ = std::move(job);
    busy_ = true;
  }
  changed_.notify_one();
}

void BackgroundWorker::run() {
  std::unique_lock<std::mutex> lock(mutex_);
  while (true) {
    changed_.wait(lock, [this] { return busy_ || closed_; });
    if (closed_) {
      return;
    }
    const auto job = std::move(job_);
    lock.unlock();
    job();
    lock.lock();
    busy_ = false;
  }
}

}  // namespace norvik::simulator
