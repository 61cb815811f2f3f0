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

// The velocity that closes `distance` and still comes to rest at its end, when each step of `dt` can change it by
// `acceleration` * `dt`: n steps of braking cover n * (n + 1) / 2 times the way of one.
double braking_velocity(double distance, double acceleration, double dt) {
  const double change = acceleration * dt;
  const double steps = std::sqrt(0.25 + 2.0 * std::abs(distance) / (change * dt)) - 0.5;
  const double speed = steps <= 1.0 ? std::abs(distance) / dt : steps * change;
  return std::copysign(speed, distance);
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
  const bool replaces = motion.clear || segments_.empty();
  if (replaces && motion.waypoints.empty()) {
    stop();
  } else if (replaces) {
    begin(motion);
  } else if (motion.in_front) {
    cut_in();
  }
  enqueue(motion);
  progress_.target_id = motion.target_id;
  progress_.target_sec = motion.target_sec;
  progress_.target_nanosec = motion.target_nanosec;
  for (size_t i = 0; i < joints_.size() && !segments_.empty(); ++i) {
    joints_[i].target_position = segments_.back().waypoint.positions[i];
  }
  update_progress();
}

void GroupFollower::begin(const Motion& motion) {
  segments_.clear();
  segment_start_ = motion.from_measured ? measured() : commanded();
  segment_time_ = done_time_ = total_time_ = 0.0;
  cut_short_ = false;
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

// The target stays, so that the error that is left shows.
void GroupFollower::stop() {
  cut_short_ = cut_short_ || !segments_.empty();
  segments_.clear();
  segment_time_ = 0.0;
  std::fill(speeds_.begin(), speeds_.end(), 0.0);
  for (size_t i = 0; i < joints_.size(); ++i) {
    JointMotion& joint = joints_[i];
    const double braking_way = joint.velocity * std::abs(joint.velocity) / (2.0 * limits_[i].acceleration);
    joint.command_position = joint.position + braking_way;
    joint.command_velocity = 0.0;
  }
  update_progress();
}

void GroupFollower::place(const std::vector<double>& positions, const std::vector<double>& velocities) {
  segments_.clear();
  cut_short_ = false;
  for (size_t i = 0; i < joints_.size(); ++i) {
    JointMotion& joint = joints_[i] = {};
    joint.position = std::clamp(positions[i], limits_[i].lower, limits_[i].upper);
    joint.target_position = joint.position;
    joint.velocity = velocities.empty() ? 0.0 : velocities[i];
  }
  stop();
}

void GroupFollower::step(double dt) {
  const bool has_trajectory = !segments_.empty();
  advance_trajectory(dt);
  for (size_t i = 0; i < joints_.size(); ++i) {
    follow(i, has_trajectory ? sample(i) : joints_[i].command_position, dt);
  }
  update_progress();
}

void GroupFollower::advance_trajectory(double dt) {
  if (segments_.empty()) {
    return;
  }
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

// Where the trajectory wants a joint to be now: between two waypoints, or at the last.
double GroupFollower::sample(size_t i) const {
  if (segments_.empty()) {
    return segment_start_[i];
  }
  const Waypoint& next = segments_.front().waypoint;
  const double share = segments_.front().blend(segment_time_ / next.duration);
  return segment_start_[i] + (next.positions[i] - segment_start_[i]) * share;
}

void GroupFollower::follow(size_t i, double command, double dt) {
  JointMotion& joint = joints_[i];
  const JointLimits& limits = limits_[i];
  const double speed = speeds_[i] > 0.0 ? std::min(speeds_[i], limits.speed) : limits.speed;
  const double wanted = std::clamp(wanted_velocity(i, command, dt), -speed, speed);
  const double change = limits.acceleration * dt;
  double velocity = std::clamp(wanted, joint.velocity - change, joint.velocity + change);
  velocity = frozen_[i] ? 0.0 : velocity;
  joint.command_position = command;
  joint.acceleration = (velocity - joint.velocity) / dt;
  joint.velocity = joint.command_velocity = velocity;
  joint.position = std::clamp(joint.position + velocity * dt, limits.lower, limits.upper);
}

// As fast as the command moves, and what closes the gap behind it; on the last way no faster than what comes to rest
// at its end.
double GroupFollower::wanted_velocity(size_t i, double new_command, double dt) const {
  const JointMotion& joint = joints_[i];
  const JointLimits& limits = limits_[i];
  const double lower = std::min(std::clamp(obstacles_[i], limits.lower, limits.upper), joint.position);
  const auto reachable = [&](double position) { return std::clamp(position, lower, limits.upper); };
  const auto braking = [&](double end) {
    return braking_velocity(reachable(end) - joint.position, limits.acceleration, dt);
  };
  const double wanted =
      (reachable(new_command) - reachable(joint.command_position)) / dt + braking(joint.command_position);
  if (segments_.size() > 1) {
    return wanted;
  }
  const double most = braking(segments_.empty() ? new_command : segments_.front().waypoint.positions[i]);
  return wanted * most > 0.0 && std::abs(wanted) > std::abs(most) ? most : wanted;
}

void GroupFollower::update_progress() {
  progress_.sampling_finished = segments_.empty();
  const double passed = done_time_ + segment_time_;
  if (!cut_short_) {
    progress_.percent = segments_.empty() || total_time_ <= 0.0 ? 100.0 : std::min(100.0, 100.0 * passed / total_time_);
  }
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
