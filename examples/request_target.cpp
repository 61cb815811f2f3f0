// Sends complete targets as requests and prints the reports: one target that the robot takes, one that this library
// refuses, and one that the robot refuses.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<double> kPositions = {0.3, -0.2};  // radians
constexpr double kTolerance = 0.02;                  // radians

// The joints of the head, to be reached after one second.
TavrinoXTarget head_target(const std::vector<std::string>& joints) {
  GroupCommand command;
  command.time_from_start_s = 1.0;
  for (const double position : kPositions) {
    command.joint_commands.push_back({position});
  }
  TargetGroupTrajectory trajectory;
  trajectory.target_config.target_data = 1;    // joint positions
  trajectory.target_config.target_type = 255;  // default: replaces what is running
  trajectory.joint_names = joints;
  trajectory.group_commands = {command};
  TavrinoXTarget target;
  target.target_group_trajectory_map["head"] = trajectory;
  return target;
}

void print_report(const std::string& title, const std::shared_ptr<ErrorInfo>& report) {
  std::cout << title << ": ";
  if (!report) {
    std::cout << "no answer" << std::endl;
    return;
  }
  std::cout << report->errors.size() << " errors" << std::endl;
  for (const Error& error : report->errors) {
    std::cout << "  " << error.component << ", code " << error.code << ": " << error.description << std::endl;
  }
}

bool request_targets(NorvikRobot& robot) {
  const auto taken = robot.RequestTarget(head_target({"head_joint1", "head_joint2"}));
  print_report("Good target", taken);
  const bool arrived = examples::wait_until(
      [&] { return examples::is_near(robot.get_joint_positions({"head"}), kPositions, kTolerance); }, 5.0);
  std::cout << (arrived ? "  The head is there." : "  The head did not arrive.") << std::endl;

  // Two commands for one joint do not leave this machine.
  const auto refused_here = robot.RequestTarget(head_target({"head_joint1"}));
  print_report("Inconsistent target", refused_here);
  // What the joints of the head are called is for the robot to know.
  const auto refused_there = robot.RequestTarget(head_target({"head_joint1", "no_such_joint"}));
  print_report("Target with an unknown joint", refused_there);

  return taken && taken->errors.empty() && arrived && refused_here && refused_here->errors.size() == 1 &&
         refused_here->errors[0].component == "sdk_request_target" && refused_there && !refused_there->errors.empty();
}

}  // namespace

int main() { return examples::run(request_targets); }
