#include "ovimux/dds/callback_gate.hpp"

#include <algorithm>
#include <chrono>

#include "core/exit_handler.hpp"

namespace norvik::ovimux {
namespace {

constexpr std::chrono::seconds kLongestWaitAtExit{1};
constexpr std::chrono::milliseconds kExitCheckPeriod{50};

}  // namespace

bool CallbackGate::enter() {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (!closed_) {
    inside_.push_back(std::this_thread::get_id());
  }
  return !closed_;
}

void CallbackGate::leave() {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    inside_.erase(std::find(inside_.begin(), inside_.end(), std::this_thread::get_id()));
  }
  left_.notify_all();
}

bool CallbackGate::only_this_thread_inside() const {
  return std::all_of(inside_.begin(), inside_.end(),
                     [self = std::this_thread::get_id()](const std::thread::id& id) { return id == self; });
}

void CallbackGate::close() {
  if (in_forked_child()) {
    return;
  }
  std::unique_lock<std::mutex> lock(mutex_);
  closed_ = true;
  const auto start = std::chrono::steady_clock::now();
  while (!left_.wait_for(lock, kExitCheckPeriod, [this] { return only_this_thread_inside(); })) {
    if (process_is_exiting() && std::chrono::steady_clock::now() - start > kLongestWaitAtExit) {
      return;
    }
  }
}

}  // namespace norvik::ovimux
