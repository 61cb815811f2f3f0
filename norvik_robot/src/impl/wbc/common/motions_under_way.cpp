#include "impl/wbc/common/motions_under_way.hpp"

#include <utility>

#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

MotionsUnderWay::Motion::Motion(MotionsUnderWay& motions, std::set<std::string> groups, Hold hold)
    : motions_(motions), groups_(std::move(groups)), hold_(std::move(hold)) {
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  place_ = motions_.motions_.insert(motions_.motions_.end(), this);
  ++motions_.going_out_;
}

MotionsUnderWay::Motion::~Motion() {
  commanded(ControlStatus::TIMEOUT);
  const bool cut_off = !ended_ && is_shutting_down();
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  motions_.motions_.erase(place_);
  if (cut_off) {
    motions_.add_to_stops(*this);
  }
}

void MotionsUnderWay::Motion::commanded(ControlStatus status) {
  if (std::exchange(commanded_, true)) {
    return;
  }
  if (status != ControlStatus::SUCCESS && status != ControlStatus::TIMEOUT) {
    ended();
  }
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  if (--motions_.going_out_ == 0) {
    motions_.nothing_going_out_.notify_all();
  }
}

void MotionsUnderWay::Motion::ended() {
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  ended_ = true;
}

MotionsUnderWay::BaseVelocity::BaseVelocity(MotionsUnderWay& motions, bool stands) : motions_(motions) {
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  ++motions_.going_out_;
  before_ = std::exchange(motions_.base_velocity_stands_, stands);
}

MotionsUnderWay::BaseVelocity::~BaseVelocity() {
  const std::lock_guard<std::mutex> lock(motions_.mutex_);
  if (!sent_) {
    motions_.base_velocity_stands_ = before_;
  }
  if (--motions_.going_out_ == 0) {
    motions_.nothing_going_out_.notify_all();
  }
}

void MotionsUnderWay::base_velocity_ended() {
  const std::lock_guard<std::mutex> lock(mutex_);
  base_velocity_stands_ = false;
}

MotionsUnderWay::Stops MotionsUnderWay::take(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock<std::mutex> lock(mutex_);
  nothing_going_out_.wait_until(lock, deadline, [this] { return going_out_ == 0; });
  for (const Motion* motion : motions_) {
    if (!motion->ended_) {
      add_to_stops(*motion);
    }
  }
  Stops stops = std::exchange(cut_off_, {});
  stops.base_velocity = base_velocity_stands_;
  return stops;
}

void MotionsUnderWay::add_to_stops(const Motion& motion) {
  cut_off_.groups.insert(motion.groups_.begin(), motion.groups_.end());
  if (motion.hold_) {
    cut_off_.holds.push_back(motion.hold_);
  }
}

}  // namespace norvik::sdk
