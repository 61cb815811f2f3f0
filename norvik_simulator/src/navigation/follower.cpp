#include "navigation/follower.hpp"

#include <algorithm>
#include <cmath>

namespace norvik::simulator {

namespace {

constexpr double kLookAhead = 0.2;      // m
constexpr double kCloseEnough = 0.008;  // m, at the end of a leg
constexpr double kYawEnough = 0.008;    // rad
constexpr double kSlow = 0.02;          // m/s, rad/s
constexpr double kPatience = 3.0;       // s for the last centimetres
constexpr double kNear = 0.05;          // m
constexpr double kTurnFirst = 0.7;      // rad beside the way, from which on it turns before it drives
constexpr double kCornerWay = 0.25;     // m within which the direction changes at a corner
constexpr double kStep = 0.05;          // m between the poses of a look-out
constexpr double kReaction = 0.3;       // s that a look-out reaches further than braking takes

// What is left of the limits for planning ahead; the rest is for keeping to the way.
AxisLimits with_reserve(const AxisLimits& limits) {
  return {limits.velocity, 0.6 * limits.acceleration, 0.4 * limits.jerk};
}

double between(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y); }

double direction_of(const Point& from, const Point& to) { return std::atan2(to.y - from.y, to.x - from.x); }

// Metres along the segment of the point of it that is nearest.
double along_segment(const Point& from, const Point& to, const PlanarPose& pose) {
  const double length = between(from, to);
  if (length < 1e-9) {
    return 0.0;
  }
  const double dot = (pose.x - from.x) * (to.x - from.x) + (pose.y - from.y) * (to.y - from.y);
  return std::clamp(dot / length, 0.0, length);
}

}  // namespace

void Follower::take_over(const PlanarTwist& twist) {
  twist_ = twist;
  ramps_[0].reset(twist.vx);
  ramps_[1].reset(twist.vy);
  ramps_[2].reset(twist.wz);
}

void Follower::follow(Route route, const PlanarPose& start, const MotionLimits& limits) {
  route_ = std::move(route);
  limits_ = limits;
  leg_ = 0;
  at_end_ = route_.empty();
  if (!at_end_) {
    begin_leg(start);
  }
}

void Follower::begin_leg(const PlanarPose& pose) {
  first_yaw_ = pose.yaw;
  way_ = settling_ = 0.0;
  corner_ways_.assign(1, 0.0);
  for (size_t i = 1; i < leg().points.size(); ++i) {
    corner_ways_.push_back(corner_ways_.back() + between(leg().points[i - 1], leg().points[i]));
  }
}

PlanarTwist Follower::step(const PlanarPose& pose, double dt) {
  advance(pose);
  const bool close = between({pose.x, pose.y}, leg().points.back()) < kNear;
  settling_ = close ? settling_ + dt : 0.0;
  if (leg_is_done(pose)) {
    at_end_ = leg_ + 1 == route_.size();
    if (at_end_) {
      return hold({}, dt);
    }
    ++leg_;
    begin_leg(pose);
  }
  return hold(wanted_twist(pose), dt);
}

PlanarTwist Follower::hold(const PlanarTwist& twist, double dt) {
  twist_ = {ramps_[0].step(twist.vx, axis(limits_, 0), dt), ramps_[1].step(twist.vy, axis(limits_, 1), dt),
            ramps_[2].step(twist.wz, axis(limits_, 2), dt)};
  return twist_;
}

// Forwards only, and no further than a way that comes by the same place again allows.
void Follower::advance(const PlanarPose& pose) {
  double nearest = 1e9;
  double best = way_;
  for (size_t i = 1; i < leg().points.size(); ++i) {
    const double way = corner_ways_[i - 1] + along_segment(leg().points[i - 1], leg().points[i], pose);
    if (way < way_ || way > way_ + 2.0 * kLookAhead) {
      continue;
    }
    const double distance = between(point_at(way), {pose.x, pose.y});
    if (distance < nearest - 1e-9) {
      nearest = distance;
      best = way;
    }
  }
  way_ = best;
}

bool Follower::leg_is_done(const PlanarPose& pose) const {
  const double distance = between({pose.x, pose.y}, leg().points.back());
  const double turn = std::abs(wrap_angle(leg().last_yaw - pose.yaw));
  const bool slow = std::hypot(twist_.vx, twist_.vy) < kSlow && std::abs(twist_.wz) < kSlow;
  const bool near_end = corner_ways_.back() - way_ < kNear;
  return near_end && slow && ((distance < kCloseEnough && turn < kYawEnough) || settling_ > kPatience + turn * 60.0);
}

Point Follower::point_at(double way) const {
  const auto& points = leg().points;
  for (size_t i = 1; i < points.size(); ++i) {
    if (way <= corner_ways_[i]) {
      const double length = corner_ways_[i] - corner_ways_[i - 1];
      const double share = length > 1e-9 ? (way - corner_ways_[i - 1]) / length : 1.0;
      return {points[i - 1].x + share * (points[i].x - points[i - 1].x),
              points[i - 1].y + share * (points[i].y - points[i - 1].y)};
    }
  }
  return points.back();
}

double Follower::deviation(const PlanarPose& pose) const {
  return at_end_ ? 0.0 : between(point_at(way_), {pose.x, pose.y});
}

double Follower::wanted_yaw(const PlanarPose& pose, double direction) const {
  const double left = between({pose.x, pose.y}, leg().points.back());
  if (leg().facing == Facing::kTurning) {
    const double total = std::max(1e-9, corner_ways_.back());
    return first_yaw_ + wrap_angle(leg().last_yaw - first_yaw_) * std::min(1.0, (way_ + kLookAhead) / total);
  }
  return leg().facing == Facing::kKept || left < kNear ? leg().last_yaw : direction;
}

// How fast it may pass a corner: the velocity has to change its direction within a short way.
double Follower::speed_at_corner(size_t corner, const AxisLimits& limits) const {
  const auto& points = leg().points;
  const double turn = std::abs(
      wrap_angle(direction_of(points[corner], points[corner + 1]) - direction_of(points[corner - 1], points[corner])));
  double low = 0.0;
  double high = limits.velocity;
  for (int i = 0; i < 12; ++i) {
    const double speed = (low + high) / 2.0;
    const double change = 2.0 * speed * std::sin(turn / 2.0);
    (speed * change_time(change, limits) <= kCornerWay ? low : high) = speed;
  }
  return low;
}

double Follower::speed_along(const PlanarPose& pose, double direction, double left) const {
  const double relative = direction - pose.yaw;
  const AxisLimits limits = with_reserve(along(limits_, std::cos(relative), std::sin(relative)));
  double speed = speed_for(left, limits);
  for (size_t i = 1; i + 1 < leg().points.size(); ++i) {
    const double ahead = corner_ways_[i] - way_;
    if (ahead > -kLookAhead && ahead < 5.0) {
      const double passing = speed_at_corner(i, limits);
      const double until = std::max(0.0, ahead - kLookAhead);
      speed = std::min(speed, speed_for(until + stop_distance(passing, limits), limits));
    }
  }
  return speed;
}

PlanarTwist Follower::wanted_twist(const PlanarPose& pose) const {
  const Point here = {pose.x, pose.y};
  const double left_along = corner_ways_.back() - way_;
  const Point carrot = point_at(way_ + kLookAhead);
  const double left = std::max(left_along, between(here, leg().points.back()));
  const double direction = direction_of(here, carrot);
  const double error = wrap_angle(wanted_yaw(pose, direction) - pose.yaw);
  const AxisLimits turning = with_reserve(axis(limits_, 2));
  double speed = speed_along(pose, direction, left);
  // Turning while it drives changes the velocity in the base's frame, too.
  double turn = speed_for(std::abs(error), turning);
  const double moving = std::hypot(twist_.vx, twist_.vy);
  if (moving > kSlow) {
    turn = std::min(turn, std::max(0.05, 0.4 * std::min(limits_.acceleration[0], limits_.acceleration[1]) / moving));
  }
  if (leg().facing == Facing::kKept || (leg().facing == Facing::kAhead && left > kNear)) {
    speed *= std::max(0.0, 1.0 - std::abs(error) / kTurnFirst);
  }
  const double relative = direction - pose.yaw;
  return {speed * std::cos(relative), speed * std::sin(relative), std::copysign(turn, error)};
}

std::vector<PlanarPose> Follower::poses_until_stop(const PlanarPose& pose) const {
  const double speed = std::hypot(twist_.vx, twist_.vy);
  const AxisLimits moving = speed > 1e-6 ? along(limits_, twist_.vx / speed, twist_.vy / speed) : axis(limits_, 0);
  const double seconds =
      std::max(change_time(speed, moving), change_time(std::abs(twist_.wz), axis(limits_, 2))) / 2.0 + kReaction;
  const double length = std::max(speed, 0.5 * std::abs(twist_.wz)) * seconds;
  const int steps = std::clamp(static_cast<int>(std::ceil(length / kStep)), 1, 200);
  std::vector<PlanarPose> poses;
  PlanarPose next = pose;
  for (int i = 0; i < steps; ++i) {
    const double dt = seconds / steps;
    next = compose(next, {twist_.vx * dt, twist_.vy * dt, twist_.wz * dt});
    poses.push_back(next);
  }
  return poses;
}

}  // namespace norvik::simulator
