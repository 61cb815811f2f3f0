// Moves the left hand along a straight line of 12 cm, and computes from the plan how straight that is.

#include <algorithm>

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kStraight = 0.001;  // metres

// Distance of a point from the line through two others.
double distance_from_line(const std::vector<double>& point, const std::vector<double>& from,
                          const std::vector<double>& to) {
  double along = 0.0;
  double length = 0.0;
  for (size_t i = 0; i < 3; ++i) {
    along += (point[i] - from[i]) * (to[i] - from[i]);
    length += (to[i] - from[i]) * (to[i] - from[i]);
  }
  double square = 0.0;
  for (size_t i = 0; i < 3; ++i) {
    const double foot = from[i] + along / length * (to[i] - from[i]);
    square += (point[i] - foot) * (point[i] - foot);
  }
  return std::sqrt(square);
}

bool move_straight(NorvikRobot&, NorvikMotion& motion) {
  const std::vector<double> start = examples::end_effector_pose(motion, "left_arm");
  if (start.empty()) {
    return false;
  }
  std::vector<double> goal = start;
  goal[1] += 0.08;
  goal[2] += 0.09;
  auto line = examples::at_once();
  line->move_line = true;
  const auto [status, path] = motion.motion_plan(examples::pose_target("left_arm", goal), nullptr, nullptr, true, line);
  std::cout << "Line: " << status << std::endl;
  if (status != MotionStatus::SUCCESS) {
    return false;
  }

  // The plan again, point by point.
  double farthest = 0.0;
  const auto& points = path.at("left_arm");
  for (size_t i = 0; i < points.size(); i += std::max<size_t>(points.size() / 8, 1)) {
    const auto pose = std::get<1>(
        motion.forward_kinematics("left_arm_end_effector_mount_link", "base_link", {{"left_arm", points[i]}}));
    farthest = std::max(farthest, pose.empty() ? INFINITY : distance_from_line(pose, start, goal));
  }
  std::cout << "The plan has " << points.size() << " points, at most " << 1000.0 * farthest << " mm off the line."
            << std::endl;
  return farthest < kStraight && examples::arrives(motion, "left_arm", goal);
}

}  // namespace

int main() { return examples::run_with_planner(move_straight); }
