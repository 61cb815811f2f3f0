// Changes the low-level controller of the head, shows which one is active, and releases it: a released group does not
// take commands until its controller is started again.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<std::string> kHead = {groups::kHead};
constexpr double kTolerance = 0.02;  // radians

bool is_active(NorvikRobot& robot, const std::string& wanted) {
  const std::string active = robot.get_active_controller(groups::kHead);
  std::cout << "  active controller of the head: " << active << std::endl;
  return active == wanted;
}

bool switch_to(NorvikRobot& robot, const std::string& controller) {
  return examples::report("Switch to " + controller, [&] { return robot.switch_controller(controller); }) &&
         is_active(robot, controller);
}

bool head_goes_to(NorvikRobot& robot, const std::vector<double>& positions) {
  return examples::report("Move the head",
                          [&] { return robot.set_joint_positions(positions, kHead, {}, true, 0.5, 5.0); }) &&
         examples::wait_until(
             [&] { return examples::is_near(robot.get_joint_positions(kHead), positions, kTolerance); }, 2.0);
}

bool head_refuses(NorvikRobot& robot) {
  CallLog log;
  const ControlStatus status = robot.set_joint_positions({0.0, 0.0}, kHead, {}, true, 0.5, 5.0);
  examples::print_outcome("Move the released head, which the robot refuses", status, log);
  return status == ControlStatus::FAULT;
}

bool change_controllers(NorvikRobot& robot) {
  if (!switch_to(robot, controllers::kHeadPvtBypass) || !switch_to(robot, controllers::kHeadPvt) ||
      !head_goes_to(robot, {0.2, 0.1})) {
    return false;
  }
  // Of a released group this process no longer knows what is active.
  const bool released = examples::report("Release", [&] { return robot.release_controller(groups::kHead); }) &&
                        is_active(robot, controllers::kNone) && head_refuses(robot);
  const bool started = examples::report("Start", [&] { return robot.start_controller(groups::kHead); });
  return released && started && switch_to(robot, controllers::kHeadPvt) && head_goes_to(robot, {0.0, 0.0});
}

}  // namespace

int main() { return examples::run(change_controllers); }
