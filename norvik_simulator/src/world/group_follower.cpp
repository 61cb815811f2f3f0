#include "world/group_follower.hpp"

#include <algorithm>
#include <cmath>

namespace norvik::simulator {

namespace {

// Closer than this a joint has arrived.
constexpr double kArrivedShareOfRange = 1e-4;

bool has_arrived(const JointMotion& joint, const JointLimits& limits) {
  const double range = std::min(limits.upper - limits.lower, 10.0);
  return std::abs(joint.target_position - joint.position) <= kArrivedShareOfRange * range;
}

}  // namespace

GroupFollower::GroupFollower(std::vector<JointLimits> limits, const std::vector<double>& positions)
    : limits_(std::move(limits)),
      joints_(limits_.size()),
      frozen_(limits_.size(), false),
      obstacles_(limits_.size(), -HUGE_VAL),
      speeds_(limits_.size(), 0.0) {
  place(positions);
}

bool GroupFollower::has_room_for(const Motion& motion) const {
  const size_t kept = motion.clear ? 0 : segments_.size();
  return kept + motion.waypoints.size() <= kMaxWaypoints;
}

void GroupFollower::accept(const Motion& motion) {
  if (motion.clear || segments_.empty()) {
    begin(motion);
  } else if (motion.in_front) {
    cut_in();
  }
  enqueue(motion);
  progress_.target_id = motion.target_id;
  progress_.target_sec = motion.target_sec;
  progress_.target_nanosec = motion.target_nanosec;
  if (segments_.empty()) {
    stop();
  }
  for (size_t i = 0; i < joints_.size() && !segments_.empty(); ++i) {
    joints_[i].target_position = segments_.back().waypoint.positions[i];
  }
  update_progress();
}

void GroupFollower::begin(const Motion& motion) {
  segments_.clear();
  segment_start_ = motion.from_measured ? measured() : commanded();
  segment_time_ = done_time_ = total_time_ = 0.0;
  progress_ = {};
}

// What is left of the segment being followed becomes a segment of its own, so that another one fits in before it.
void GroupFollower::cut_in() {
  segments_.front().waypoint.duration -= segment_time_;
  done_time_ += segment_time_;
  segment_time_ = 0.0;
  segment_start_ = measured();
}

void GroupFollower::enqueue(const Motion& motion) {
  std::deque<Segment> added;
  for (const Waypoint& waypoint : motion.waypoints) {
    added.push_back({waypoint, motion.blend});
    total_time_ += waypoint.duration;
  }
  segments_.insert(motion.in_front ? segments_.begin() : segments_.end(), added.begin(), added.end());
}

void GroupFollower::stop() {
  segments_.clear();
  segment_time_ = 0.0;
  std::fill(speeds_.begin(), speeds_.end(), 0.0);
  for (JointMotion& joint : joints_) {
    joint.command_position = joint.target_position = joint.position;
    joint.command_velocity = 0.0;
  }
  update_progress();
}

void GroupFollower::place(const std::vector<double>& positions) {
  for (size_t i = 0; i < joints_.size(); ++i) {
    joints_[i] = {};
    joints_[i].position = std::clamp(positions[i], limits_[i].lower, limits_[i].upper);
  }
  stop();
}

void GroupFollower::step(double dt) {
  if (!segments_.empty()) {
    advance_trajectory(dt);
    sample();
  }
  for (size_t i = 0; i < joints_.size(); ++i) {
    follow(i, dt);
  }
  update_progress();
}

void GroupFollower::advance_trajectory(double dt) {
  segment_time_ += dt;
  speeds_ = segments_.front().waypoint.speeds;
  while (!segments_.empty() && segment_time_ >= segments_.front().waypoint.duration) {
    Waypoint& passed = segments_.front().waypoint;
    segment_time_ -= passed.duration;
    done_time_ += passed.duration;
    segment_start_ = std::move(passed.positions);
    speeds_ = std::move(passed.speeds);
    segments_.pop_front();
    ++progress_.index;
  }
}

void GroupFollower::sample() {
  for (size_t i = 0; i < joints_.size(); ++i) {
    double wanted = segment_start_[i];
    if (!segments_.empty()) {
      const Waypoint& next = segments_.front().waypoint;
      wanted += (next.positions[i] - wanted) * segments_.front().blend(segment_time_ / next.duration);
    }
    joints_[i].command_position = wanted;
  }
}

void GroupFollower::follow(size_t i, double dt) {
  JointMotion& joint = joints_[i];
  const JointLimits& limits = limits_[i];
  const double speed = speeds_[i] > 0.0 ? std::min(speeds_[i], limits.speed) : limits.speed;
  const double lower = std::clamp(obstacles_[i], limits.lower, limits.upper);
  const double reachable = std::clamp(joint.command_position, std::min(lower, joint.position), limits.upper);
  const double way = frozen_[i] ? 0.0 : std::clamp(reachable - joint.position, -speed * dt, speed * dt);
  const double velocity = way / dt;
  joint.acceleration = (velocity - joint.velocity) / dt;
  joint.velocity = velocity;
  joint.position += way;
  joint.command_velocity = velocity;
}

void GroupFollower::update_progress() {
  progress_.sampling_finished = segments_.empty();
  const double passed = done_time_ + segment_time_;
  progress_.percent = segments_.empty() || total_time_ <= 0.0 ? 100.0 : std::min(100.0, 100.0 * passed / total_time_);
  bool arrived = segments_.empty();
  for (size_t i = 0; arrived && i < joints_.size(); ++i) {
    arrived = has_arrived(joints_[i], limits_[i]);
  }
  progress_.target_finished = arrived;
}

double GroupFollower::final_error() const {
  double sum = 0.0;
  for (const JointMotion& joint : joints_) {
    sum += (joint.target_position - joint.position) * (joint.target_position - joint.position);
  }
  return std::sqrt(sum);
}

std::vector<double> GroupFollower::measured() const {
  std::vector<double> positions;
  for (const JointMotion& joint : joints_) {
    positions.push_back(joint.position);
  }
  return positions;
}

std::vector<double> GroupFollower::commanded() const {
  std::vector<double> positions;
  for (const JointMotion& joint : joints_) {
    positions.push_back(joint.command_position);
  }
  return positions;
}

}  // namespace norvik::simulator
