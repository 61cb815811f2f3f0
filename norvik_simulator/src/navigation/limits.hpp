#pragma once

#include <array>

namespace norvik::simulator {

// What the base may do along x, along y and when turning, in its own frame: per second, squared, cubed; metres,
// radians.
struct MotionLimits {
  std::array<double, 3> velocity;
  std::array<double, 3> acceleration;
  std::array<double, 3> jerk;
};

// Shares of the limits, each above 0 and at most 1.
struct Scales {
  double velocity = 1.0;
  double acceleration = 1.0;
  double jerk = 1.0;
};
MotionLimits scaled(const MotionLimits& limits, const Scales& scales);

// What one axis, or the way along a path, may do.
struct AxisLimits {
  double velocity;
  double acceleration;
  double jerk;
};
AxisLimits axis(const MotionLimits& limits, int index);
// Along the direction (x, y), told in the base's frame: its parts along the axes stay within theirs.
AxisLimits along(const MotionLimits& limits, double x, double y);

// Seconds and metres that a change of the speed by `speed` takes, from constant speed to constant speed (to a stop).
double change_time(double speed, const AxisLimits& limits);
double stop_distance(double speed, const AxisLimits& limits);
// The speed from which it can stop within `distance`.
double speed_for(double distance, const AxisLimits& limits);

// The speed of one axis, which never changes faster than it may.
class AxisRamp {
 public:
  void reset(double velocity) {
    velocity_ = velocity;
    acceleration_ = 0.0;
  }
  // Goes on towards `target` for `dt` and returns the speed that it gets to.
  double step(double target, const AxisLimits& limits, double dt);
  double velocity() const { return velocity_; }

 private:
  double velocity_ = 0.0;
  double acceleration_ = 0.0;
};

}  // namespace norvik::simulator
