#include "impl/session/goals_under_way.hpp"

#include <utility>

#include "ovimux/ovimux.hpp"

namespace norvik::sdk {

GoalsUnderWay::Goal::Goal(GoalsUnderWay& goals) : goals_(goals) {
  const std::lock_guard<std::mutex> lock(goals_.mutex_);
  ++goals_.going_out_;
  ++goals_.open_;
}

GoalsUnderWay::Goal::~Goal() {
  sent();
  if (ended_) {
    return;
  }
  const std::lock_guard<std::mutex> lock(goals_.mutex_);
  --goals_.open_;
  goals_.cut_off_ = goals_.cut_off_ || !ovimux::OK();
}

void GoalsUnderWay::Goal::sent() {
  if (std::exchange(sent_, true)) {
    return;
  }
  const std::lock_guard<std::mutex> lock(goals_.mutex_);
  if (--goals_.going_out_ == 0) {
    goals_.nothing_going_out_.notify_all();
  }
}

void GoalsUnderWay::Goal::ended() {
  if (std::exchange(ended_, true)) {
    return;
  }
  const std::lock_guard<std::mutex> lock(goals_.mutex_);
  --goals_.open_;
}

bool GoalsUnderWay::take(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  nothing_going_out_.wait_until(lock, deadline, [this] { return going_out_ == 0; });
  return open_ > 0 || std::exchange(cut_off_, false);
}

}  // namespace norvik::sdk
