// Opens the left gripper and closes it on an object. Put one between the fingers of the simulated robot first:
//
//   norvik_simulator --control '{"op":"place_object","group":"left_gripper","width_mm":40}'

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::string kGripper = groups::kLeftGripper;
constexpr double kOpen = 0.08;    // metres
constexpr double kSpeed = 0.05;   // m/s
constexpr double kEffort = 40.0;  // percent
constexpr double kEmpty = 0.01;   // metres; narrower than this there is nothing between the fingers

void print_state(NorvikRobot& robot, const std::string& title) {
  const auto state = robot.get_gripper_state(kGripper);
  std::cout << title << ": width " << state->width * 1000.0 << " mm, effort " << state->effort << ", "
            << (state->is_moving ? "moving" : "standing") << std::endl;
}

bool is_moving(NorvikRobot& robot) { return robot.get_gripper_state(kGripper)->is_moving; }

bool pick(NorvikRobot& robot) {
  if (!robot.get_gripper_state(kGripper)) {
    std::cout << "This robot has no " << kGripper << "." << std::endl;
    return false;
  }
  print_state(robot, "Before");
  if (!examples::report("Open", [&] { return robot.set_gripper_command(kGripper, kOpen, kSpeed, kEffort); })) {
    return false;
  }
  // The command counts a gripper as open that is near; the fingers still go on for a moment.
  examples::wait_until([&] { return !is_moving(robot); }, 2.0);
  print_state(robot, "Open");
  const double open_width = robot.get_gripper_state(kGripper)->width;

  // A blocking call would wait for a width that the object keeps the fingers from. Instead: begin, and see it end.
  if (!examples::report("Close", [&] { return robot.set_gripper_command(kGripper, 0.0, kSpeed, kEffort, false); })) {
    return false;
  }
  const bool moved = examples::wait_until([&] { return is_moving(robot); }, 2.0);
  const bool stands = examples::wait_until([&] { return !is_moving(robot); }, 5.0);
  print_state(robot, "Closed");

  const auto state = robot.get_gripper_state(kGripper);
  const bool holds = state->width > kEmpty && state->width < open_width - kEmpty && state->effort > 0.0;
  std::cout << (holds ? "The gripper holds an object." : "The gripper holds nothing.") << std::endl;
  return moved && stands && holds;
}

}  // namespace

int main() { return examples::run(pick); }
