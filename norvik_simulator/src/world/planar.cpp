#include "world/planar.hpp"

#include <cmath>

namespace norvik::simulator {

PlanarPose compose(const PlanarPose& outer, const PlanarPose& inner) {
  const double c = std::cos(outer.yaw);
  const double s = std::sin(outer.yaw);
  return {outer.x + c * inner.x - s * inner.y, outer.y + s * inner.x + c * inner.y, outer.yaw + inner.yaw};
}

PlanarPose inverse(const PlanarPose& pose) {
  const double c = std::cos(pose.yaw);
  const double s = std::sin(pose.yaw);
  return {-c * pose.x - s * pose.y, s * pose.x - c * pose.y, -pose.yaw};
}

double wrap_angle(double angle) { return std::remainder(angle, 2.0 * M_PI); }

}  // namespace norvik::simulator
