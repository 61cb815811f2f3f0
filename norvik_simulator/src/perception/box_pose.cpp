#include "perception/box_pose.hpp"

#include <algorithm>
#include <array>

namespace norvik::simulator {

namespace {

// The box's axis `axis`, towards the origin.
KDL::Vector facing_axis(const KDL::Frame& pose, int axis) {
  KDL::Vector direction = KDL::Vector::Zero();
  direction(axis) = 1.0;
  direction = pose.M * direction;
  return KDL::dot(direction, pose.p) > 0.0 ? -direction : direction;
}

}  // namespace

KDL::Frame estimated_pose(const Thing& thing, const KDL::Frame& camera) {
  const KDL::Frame pose = camera.Inverse() * thing.pose;
  std::array<int, 3> axes = {0, 1, 2};
  std::stable_sort(axes.begin(), axes.end(), [&](int a, int b) { return thing.size(a) > thing.size(b); });
  const KDL::Vector x = facing_axis(pose, axes[0]);
  const KDL::Vector z = facing_axis(pose, axes[2]);
  return {KDL::Rotation(x, z * x, z), pose.p};
}

}  // namespace norvik::simulator
