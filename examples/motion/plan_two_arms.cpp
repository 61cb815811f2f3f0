// Moves both arms at once through waypoints, the right one as the mirror of the left one.

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

using Waypoints = NorvikMotion::Waypoints;

const Waypoints kLeft = {{0.1, -0.5, 0.0, -1.0, 0.0, 0.3, 0.0}, {-0.2, -0.6, 0.1, -1.2, 0.1, 0.2, 0.0}};  // radians
const Waypoints kRight = {examples::mirrored(kLeft[0]), examples::mirrored(kLeft[1])};

bool move_both(NorvikRobot& robot, NorvikMotion& motion) {
  const std::map<std::shared_ptr<RobotStates>, Waypoints> targets = {
      {examples::joint_target("left_arm", kLeft.back()), kLeft},
      {examples::joint_target("right_arm", kRight.back()), kRight}};
  const auto [status, path] = motion.motion_plan_multi_waypoints(targets, {}, nullptr, false, examples::at_once());
  std::cout << "Waypoints: " << status << std::endl;
  for (const auto& [group, points] : path) {
    std::cout << "  " << group << ": " << points.size() << " points" << std::endl;
  }
  std::vector<double> ends = kLeft.back();
  ends.insert(ends.end(), kRight.back().begin(), kRight.back().end());
  return status == MotionStatus::SUCCESS &&
         examples::wait_until(
             [&] {
               return examples::is_near(robot.get_joint_positions({groups::kLeftArm, groups::kRightArm}), ends, 0.02);
             },
             2.0);
}

}  // namespace

int main() { return examples::run_with_planner(move_both); }
