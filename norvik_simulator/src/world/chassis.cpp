#include "world/chassis.hpp"

#include <algorithm>
#include <cmath>

#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "world/blend.hpp"

namespace norvik::simulator {

namespace {

constexpr double kMaxSpeed = 2.0;             // m/s
constexpr double kMaxTurn = 3.0;              // rad/s
constexpr double kMaxAcceleration = 4.0;      // m/s²
constexpr double kMaxTurnAcceleration = 8.0;  // rad/s²
constexpr double kWheelRadius = 0.1;          // m
constexpr double kUnlimited = 1e9;

struct WheelPlace {
  double x;
  double y;
};
constexpr WheelPlace kWheelPlaces[] = {{0.25, 0.22}, {0.25, -0.22}, {-0.25, 0.22}, {-0.25, -0.22}};

double slew(double from, double to, double step) { return from + std::clamp(to - from, -step, step); }

// A mecanum wheel: the rollers take the sideways part.
double mecanum_speed(const WheelPlace& place, const PlanarTwist& twist) {
  const double side = place.x * place.y > 0.0 ? -1.0 : 1.0;
  const double lever = std::abs(place.x) + std::abs(place.y);
  return (twist.vx + side * twist.vy + (place.y > 0.0 ? -lever : lever) * twist.wz) / kWheelRadius;
}

// A base cannot jump to a constant speed: a single way gets a ramp at both ends, within the same time.
Motion with_ramps(Motion motion) {
  if (motion.waypoints.size() == 1 && motion.blend == find_blend(tavrinox_proto::TARGET_SAMPLING_LINEAR_INTERPOLATE)) {
    motion.blend = find_blend(tavrinox_proto::TARGET_SAMPLING_TRAPEZOIDAL_PROFILE);
  }
  return motion;
}

PlanarTwist within_limits(const PlanarTwist& twist) {
  return {std::clamp(twist.vx, -kMaxSpeed, kMaxSpeed), std::clamp(twist.vy, -kMaxSpeed, kMaxSpeed),
          std::clamp(twist.wz, -kMaxTurn, kMaxTurn)};
}

void turn(JointMotion& joint, double position, double velocity) {
  joint.position = joint.command_position = joint.target_position = position;
  joint.velocity = joint.command_velocity = velocity;
}

}  // namespace

Chassis::Chassis(const std::vector<std::string>& wheels)
    : follower_({{-kUnlimited, kUnlimited, kMaxSpeed, kMaxAcceleration},
                 {-kUnlimited, kUnlimited, kMaxSpeed, kMaxAcceleration},
                 {-kUnlimited, kUnlimited, kMaxTurn, kMaxTurnAcceleration}},
                {0.0, 0.0, 0.0}),
      wheels_(wheels.size()),
      steered_(wheels.size() == 8) {}

void Chassis::go_to(const Motion& motion) {
  ++commands_;
  if (by_twist_) {
    follow_poses_from_here();
  }
  follower_.accept(with_ramps(motion));
  progress_ = follower_.progress();
}

// With the speed that the base has, from its own frame to the one of the poses.
void Chassis::follow_poses_from_here() {
  by_twist_ = false;
  const double c = std::cos(pose_.yaw);
  const double s = std::sin(pose_.yaw);
  follower_.place({pose_.x, pose_.y, pose_.yaw},
                  {c * twist_.vx - s * twist_.vy, s * twist_.vx + c * twist_.vy, twist_.wz});
}

void Chassis::keep_twist(const PlanarTwist& twist, double time_s, const Motion& target) {
  ++commands_;
  by_twist_ = true;
  driven_ = false;
  wanted_ = within_limits(twist);
  time_left_ = time_total_ = time_s;
  progress_ = {};
  progress_.sampling_finished = progress_.target_finished = time_s <= 0.0;
  progress_.target_id = target.target_id;
  progress_.target_sec = target.target_sec;
  progress_.target_nanosec = target.target_nanosec;
}

void Chassis::drive(const PlanarTwist& twist) {
  if (!by_twist_) {
    progress_ = {};
  }
  by_twist_ = driven_ = true;
  wanted_ = within_limits(twist);
  time_left_ = 0.0;
}

void Chassis::stop() {
  ++commands_;
  wanted_ = {};
  time_left_ = 0.0;
  if (!by_twist_) {
    follower_.stop();
  }
}

void Chassis::stop_dead() {
  stop();
  by_twist_ = true;
  twist_ = {};
}

void Chassis::step(double dt) {
  if (by_twist_) {
    step_twist(dt);
  } else {
    step_pose(dt);
  }
  turn_wheels(dt);
}

void Chassis::step_twist(double dt) {
  time_left_ = std::max(0.0, time_left_ - dt);
  twist_ = {slew(twist_.vx, wanted_.vx, kMaxAcceleration * dt), slew(twist_.vy, wanted_.vy, kMaxAcceleration * dt),
            slew(twist_.wz, wanted_.wz, kMaxTurnAcceleration * dt)};
  if (driven_) {
    wanted_ = {};
  }
  const double middle_yaw = pose_.yaw + twist_.wz * dt / 2.0;
  pose_.x += (twist_.vx * std::cos(middle_yaw) - twist_.vy * std::sin(middle_yaw)) * dt;
  pose_.y += (twist_.vx * std::sin(middle_yaw) + twist_.vy * std::cos(middle_yaw)) * dt;
  pose_.yaw += twist_.wz * dt;
  progress_.sampling_finished = progress_.target_finished = time_left_ <= 0.0;
  progress_.percent = time_total_ > 0.0 ? 100.0 * (1.0 - time_left_ / time_total_) : 100.0;
}

void Chassis::step_pose(double dt) {
  follower_.step(dt);
  const auto& axes = follower_.joints();
  pose_ = {axes[0].position, axes[1].position, axes[2].position};
  const double c = std::cos(pose_.yaw);
  const double s = std::sin(pose_.yaw);
  twist_ = {c * axes[0].velocity + s * axes[1].velocity, c * axes[1].velocity - s * axes[0].velocity, axes[2].velocity};
  progress_ = follower_.progress();
}

void Chassis::turn_wheels(double dt) {
  for (size_t i = 0; i < std::size(kWheelPlaces); ++i) {
    const WheelPlace& place = kWheelPlaces[i];
    if (!steered_) {
      const double speed = mecanum_speed(place, twist_);
      turn(wheels_[i], wheels_[i].position + speed * dt, speed);
      continue;
    }
    const double vx = twist_.vx - twist_.wz * place.y;
    const double vy = twist_.vy + twist_.wz * place.x;
    const double speed = std::hypot(vx, vy) / kWheelRadius;
    JointMotion& steering = wheels_[2 * i];
    JointMotion& driving = wheels_[2 * i + 1];
    turn(steering, speed > 1e-3 ? std::atan2(vy, vx) : steering.position, 0.0);
    turn(driving, driving.position + speed * dt, speed);
  }
}

}  // namespace norvik::simulator
