#include "dds/dds_thread.hpp"

#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "core/exit_handler.hpp"

namespace norvik::ovimux {
namespace {

thread_local int t_listener_depth = 0;

// One thread that does what DDS threads must not. Made at the first need and never destroyed.
class Reaper {
 public:
  static Reaper& instance() {
    static auto* const instance = new Reaper;
    return *instance;
  }

  void post(std::function<void()> work) {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      queue_.push_back(std::move(work));
    }
    added_.notify_one();
  }

 private:
  Reaper() {
    std::thread([this] { run(); }).detach();
  }

  void run() {
    while (true) {
      std::unique_lock<std::mutex> lock(mutex_);
      added_.wait(lock, [this] { return !queue_.empty(); });
      const auto work = std::move(queue_.front());
      queue_.pop_front();
      lock.unlock();
      work();
    }
  }

  std::mutex mutex_;
  std::condition_variable added_;
  std::deque<std::function<void()>> queue_;
};

}  // namespace

DdsThreadScope::DdsThreadScope() { ++t_listener_depth; }

DdsThreadScope::~DdsThreadScope() { --t_listener_depth; }

bool on_dds_thread() { return t_listener_depth > 0; }

void run_off_dds_threads(std::function<void()> work) {
  if (in_forked_child()) {
    return;
  }
  if (on_dds_thread()) {
    Reaper::instance().post(std::move(work));
  } else {
    work();
  }
}

}  // namespace norvik::ovimux
