// Forward and inverse kinematics of the left arm: where the hand is, which joints put it elsewhere, and the check.

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

void print(const std::string& title, const std::vector<double>& values) {
  std::cout << title;
  for (const double value : values) {
    std::cout << ' ' << value;
  }
  std::cout << std::endl;
}

bool solve(NorvikRobot&, NorvikMotion& motion) {
  std::vector<double> pose = examples::end_effector_pose(motion, "left_arm");
  print("The hand is at", pose);
  if (pose.empty()) {
    return false;
  }
  pose[0] += 0.05;
  pose[2] += 0.05;
  const auto [status, joints] = motion.inverse_kinematics(pose, {"left_arm"});
  std::cout << "Inverse kinematics: " << status << std::endl;
  if (status != MotionStatus::SUCCESS) {
    return false;
  }
  print("Joints for 5 cm forward and up:", joints.at("left_arm"));
  const auto back = std::get<1>(motion.forward_kinematics("left_arm_end_effector_mount_link", "base_link", joints));
  print("These put the hand at", back);

  pose[0] += 5.0;
  const MotionStatus far = std::get<0>(motion.inverse_kinematics(pose, {"left_arm"}));
  std::cout << "Five metres away: " << far << std::endl;
  pose[0] -= 5.0;
  return examples::distance(back, pose) < 0.001 && far == MotionStatus::FAULT;
}

}  // namespace

int main() { return examples::run_with_planner(solve); }
