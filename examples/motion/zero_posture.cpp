// Brings the whole robot to its zero posture: the joints with the planner, the base to where it started.

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

bool go_to_zero(NorvikRobot& robot, NorvikMotion&) {
  const auto [joints, base] = robot.zero_whole_body_and_base(Pose{}, true, 0.6, 15.0, nullptr);
  std::cout << "Joints: " << joints << ", base: " << base << std::endl;
  const double shoulder = examples::model() == MachineType::K2 ? 2.0 : -0.47;  // radians
  const bool there = examples::wait_until(
      [&] {
        const auto left = robot.get_joint_positions({groups::kLeftArm});
        const auto right = robot.get_joint_positions({groups::kRightArm});
        return !left.empty() && !right.empty() && std::abs(left[0] - shoulder) < 0.02 &&
               std::abs(right[0] + shoulder) < 0.02;
      },
      2.0);
  return joints == ControlStatus::SUCCESS && base == ControlStatus::SUCCESS && there;
}

}  // namespace

int main() { return examples::run_with_planner(go_to_zero); }
