#pragma once

namespace norvik::simulator {

// On the floor: metres, radians to the left.
struct PlanarPose {
  double x = 0.0;
  double y = 0.0;
  double yaw = 0.0;
};

// In the base's own frame, metres and radians per second.
struct PlanarTwist {
  double vx = 0.0;
  double vy = 0.0;
  double wz = 0.0;
};

// `inner`, told in the frame that `outer` is the pose of, as seen from outside. Yaws add up, turns included.
PlanarPose compose(const PlanarPose& outer, const PlanarPose& inner);
PlanarPose inverse(const PlanarPose& pose);

// The same direction, from -pi to pi.
double wrap_angle(double angle);

}  // namespace norvik::simulator
