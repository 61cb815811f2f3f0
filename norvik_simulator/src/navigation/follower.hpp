#pragma once

#include <array>

#include "navigation/limits.hpp"
#include "navigation/route.hpp"
#include "world/planar.hpp"

namespace norvik::simulator {

// Drives along a route, or with a twist, within limits. What it returns is to be the base's twist for the next step.
// Not thread-safe.
class Follower {
 public:
  // The twist that the base has by another's doing.
  void take_over(const PlanarTwist& twist);

  void follow(Route route, const PlanarPose& start, const MotionLimits& limits);
  void set_limits(const MotionLimits& limits) { limits_ = limits; }

  // One step of `dt` along the route; to be called while it is not at its end.
  PlanarTwist step(const PlanarPose& pose, double dt);
  // One step towards a twist. Zero brakes.
  PlanarTwist hold(const PlanarTwist& twist, double dt);

  const PlanarTwist& twist() const { return twist_; }
  // The base stands at the end of the route, as near as it gets.
  bool is_at_end() const { return at_end_; }
  // Metres that the robot is beside its way.
  double deviation(const PlanarPose& pose) const;

  // Where the base comes by if it brakes now, or goes on for a moment longer first; for looking out for obstacles.
  std::vector<PlanarPose> poses_until_stop(const PlanarPose& pose) const;

 private:
  const Leg& leg() const { return route_[leg_]; }
  void begin_leg(const PlanarPose& pose);
  void advance(const PlanarPose& pose);
  bool leg_is_done(const PlanarPose& pose) const;
  Point point_at(double way) const;
  double wanted_yaw(const PlanarPose& pose, double direction) const;
  double speed_along(const PlanarPose& pose, double direction, double left) const;
  double speed_at_corner(size_t corner, const AxisLimits& limits) const;
  PlanarTwist wanted_twist(const PlanarPose& pose) const;

  Route route_;
  size_t leg_ = 0;
  double first_yaw_ = 0.0;           // Of the leg.
  double way_ = 0.0;                 // m along the leg
  std::vector<double> corner_ways_;  // Of each point of the leg.
  double settling_ = 0.0;            // s that it has tried to come nearer to the end of the leg
  bool at_end_ = true;
  MotionLimits limits_{};
  std::array<AxisRamp, 3> ramps_;
  PlanarTwist twist_;
};

}  // namespace norvik::simulator
