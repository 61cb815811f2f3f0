#include "navigation/limits.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace norvik::simulator {

namespace {

// The highest acceleration that can still be taken back, step by step, before the speed has changed by `change`.
double acceleration_for(double change, double jerk, double dt) {
  return jerk * (std::sqrt(dt * dt / 4.0 + 2.0 * std::max(0.0, change) / jerk) - dt / 2.0);
}

}  // namespace

MotionLimits scaled(const MotionLimits& limits, const Scales& scales) {
  MotionLimits result = limits;
  for (size_t i = 0; i < 3; ++i) {
    result.velocity[i] *= scales.velocity;
    result.acceleration[i] *= scales.acceleration;
    result.jerk[i] *= scales.jerk;
  }
  return result;
}

AxisLimits axis(const MotionLimits& limits, int index) {
  const auto i = static_cast<size_t>(index);
  return {limits.velocity[i], limits.acceleration[i], limits.jerk[i]};
}

AxisLimits along(const MotionLimits& limits, double x, double y) {
  const auto bounded = [x, y](const std::array<double, 3>& of) {
    const double share_x = std::max(std::abs(x), 1e-6);
    const double share_y = std::max(std::abs(y), 1e-6);
    return std::min(of[0] / share_x, of[1] / share_y);
  };
  return {bounded(limits.velocity), bounded(limits.acceleration), bounded(limits.jerk)};
}

double change_time(double speed, const AxisLimits& limits) {
  const double ramp = limits.acceleration / limits.jerk;  // s, to the full acceleration
  return speed <= limits.acceleration * ramp ? 2.0 * std::sqrt(speed / limits.jerk)
                                             : speed / limits.acceleration + ramp;
}

double stop_distance(double speed, const AxisLimits& limits) { return speed * change_time(speed, limits) / 2.0; }

double speed_for(double distance, const AxisLimits& limits) {
  if (distance <= 0.0) {
    return 0.0;
  }
  const double ramp = limits.acceleration / limits.jerk;
  const double short_way = std::cbrt(distance * distance * limits.jerk);
  const double speed =
      short_way <= limits.acceleration * ramp
          ? short_way
          : limits.acceleration / 2.0 * (std::sqrt(ramp * ramp + 8.0 * distance / limits.acceleration) - ramp);
  return std::min(speed, limits.velocity);
}

double AxisRamp::step(double target, const AxisLimits& limits, double dt) {
  const double wanted = std::clamp(target, -limits.velocity, limits.velocity);
  const double change = wanted - velocity_;
  const double highest = std::min(limits.acceleration, acceleration_for(std::abs(change), limits.jerk, dt));
  double acceleration = std::copysign(highest, change);
  if (const double landing = change / dt; std::abs(landing) <= limits.jerk * dt) {
    acceleration = landing;
  }
  const double most = limits.jerk * dt;
  acceleration_ = std::clamp(acceleration, acceleration_ - most, acceleration_ + most);
  velocity_ += acceleration_ * dt;
  return velocity_;
}

}  // namespace norvik::simulator
