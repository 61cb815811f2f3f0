// Plans and carries out a motion of the left arm to a pose 10 cm above the present one, then back by joints.

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

bool go_up_and_back(NorvikRobot& robot, NorvikMotion& motion) {
  std::vector<double> goal = examples::end_effector_pose(motion, "left_arm");
  if (goal.empty()) {
    return false;
  }
  goal[2] += 0.1;
  const bool up = examples::report_motion("Plan and move 10 cm up", [&] {
    return std::get<0>(
        motion.motion_plan(examples::pose_target("left_arm", goal), nullptr, nullptr, true, examples::at_once()));
  });
  const bool arrived = examples::arrives(motion, "left_arm", goal);
  std::cout << (arrived ? "The arm is there." : "The arm is not there.") << std::endl;

  const bool back = examples::report_motion("Plan and move back", [&] {
    return std::get<0>(motion.motion_plan(examples::joint_target("left_arm", examples::kElbowBent), nullptr, nullptr,
                                          true, examples::at_once()));
  });
  return up && arrived && back &&
         examples::wait_until(
             [&] {
               return examples::is_near(robot.get_joint_positions(examples::kLeftArm), examples::kElbowBent, 0.02);
             },
             2.0);
}

}  // namespace

int main() { return examples::run_with_planner(go_up_and_back); }
