#include <norvik_sdk/perception_utils.hpp>

#include <array>
#include <string>
#include <Eigen/Core>

#include "sdk_log.hpp"

namespace PerceptionUtils {

namespace {

struct Axis {
  Eigen::Vector3d direction;
  const char* name;
};
using Axes = std::array<Axis, 6>;

Axes candidates(const Eigen::Matrix4f& pose) {
  const Eigen::Vector3d x = pose.block<3, 1>(0, 0).cast<double>();
  const Eigen::Vector3d y = pose.block<3, 1>(0, 1).cast<double>();
  const Eigen::Vector3d z = pose.block<3, 1>(0, 2).cast<double>();
  return {{{x, "x_axis"}, {y, "y_axis"}, {z, "z_axis"}, {-x, "x_axis_inv"}, {-y, "y_axis_inv"}, {-z, "z_axis_inv"}}};
}

// The candidate nearest to `reference`, the first of those equally near, as a unit vector.
Eigen::Vector3d choose(const Axes& axes, const Eigen::Vector3d& reference, const char* axis_name) {
  double best = -1.0;
  const Axis* chosen = &axes[0];
  std::string dots;
  for (const Axis& axis : axes) {
    const double dot = axis.direction.dot(reference);
    dots += std::string(dots.empty() ? "" : ", ") + axis.name + "=" + std::to_string(dot);
    if (dot > best) {
      best = dot;
      chosen = &axis;
    }
  }
  SDK_LOG(debug) << "correct_quaternion_to_x_forward " << axis_name << "-axis dots: " << dots;
  SDK_LOG(debug) << "choice best " << axis_name << ": " << chosen->name;
  return chosen->direction.normalized();  // One of length 0 stays.
}

}  // namespace

Eigen::Matrix4f correct_quaternion_to_x_forward(const Eigen::Matrix4f& pose) {
  const Axes axes = candidates(pose);
  Eigen::Matrix4f corrected = Eigen::Matrix4f::Identity();
  corrected.block<3, 1>(0, 0) = choose(axes, {0.0, 0.0, -1.0}, "x").cast<float>();
  corrected.block<3, 1>(0, 1) = choose(axes, {0.0, 1.0, 0.0}, "y").cast<float>();
  corrected.block<3, 1>(0, 2) = choose(axes, {1.0, 0.0, 0.0}, "z").cast<float>();
  corrected.block<3, 1>(0, 3) = pose.block<3, 1>(0, 3);
  return corrected;
}

}  // namespace PerceptionUtils
