// Changes the low-level controller of the head, shows which one is active, and releases it: a released group does not
// take commands until its controller is started again.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<std::string> kHead = {"head"};
constexpr double kTolerance = 0.02;  // radians

bool is_active(NorvikRobot& robot, const std::string& wanted) {
  const std::string active = robot.get_active_controller("head");
  std::cout << "  active controller of the head: " << active << std::endl;
  return active == wanted;
}

bool switch_to(NorvikRobot& robot, const std::string& controller) {
  return examples::report(robot, "Switch to " + controller, robot.switch_controller(controller)) &&
         is_active(robot, controller);
}

bool head_goes_to(NorvikRobot& robot, const std::vector<double>& positions) {
  const ControlStatus status = robot.set_joint_positions(positions, kHead, {}, true, 0.5, 5.0);
  return examples::report(robot, "Move the head", status) &&
         examples::wait_until(
             [&] { return examples::is_near(robot.get_joint_positions(kHead), positions, kTolerance); }, 2.0);
}

bool head_refuses(NorvikRobot& robot) {
  const ControlStatus status = robot.set_joint_positions({0.0, 0.0}, kHead, {}, true, 0.5, 5.0);
  examples::report(robot, "Move the released head, which the robot refuses", status);
  return status == ControlStatus::FAULT;
}

bool change_controllers(NorvikRobot& robot) {
  if (!switch_to(robot, "head_pvt_bypass_ctrl") || !switch_to(robot, "head_pvt_ctrl") ||
      !head_goes_to(robot, {0.2, 0.1})) {
    return false;
  }
  // Of a released group this process no longer knows what is active.
  const bool released = examples::report(robot, "Release", robot.release_controller("head")) &&
                        is_active(robot, "CONTROLLER_NAME_NUM") && head_refuses(robot);
  const bool started = examples::report(robot, "Start", robot.start_controller("head"));
  return released && started && switch_to(robot, "head_pvt_ctrl") && head_goes_to(robot, {0.0, 0.0});
}

}  // namespace

int main() { return examples::run(change_controllers); }
