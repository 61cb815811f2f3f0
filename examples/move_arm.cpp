// Moves the left arm and reads its joints back.
//
//   move_arm                   moves the arm and back-checks where it is; exit status 0 when it arrived
//   move_arm --until-refused   then sends small commands until the robot refuses one, to show what a refusal looks
//                              like. Make the simulated robot refuse from a second terminal:
//     norvik_simulator --control '{"op":"error","group":"left_arm","code":196609,"description":"motor too hot"}'

#include <iomanip>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<std::string> kLeftArm = {groups::kLeftArm};
const std::vector<double> kTarget = {0.3, -0.4, 0.0, -0.8, 0.0, 0.3, 0.0};  // radians
constexpr double kTolerance = 0.02;                                         // radians
constexpr double kPatience = 45.0;                                          // seconds

void print_joints(NorvikRobot& robot, const std::string& title) {
  std::cout << title << "\n  joint              position [rad]  velocity [rad/s]\n";
  for (const JointState& joint : robot.get_joint_states(kLeftArm)) {
    std::cout << "  " << std::left << std::setw(18) << joint.name << std::right << std::fixed << std::setprecision(4)
              << std::setw(15) << joint.position << std::setw(18) << joint.velocity << '\n';
  }
  std::cout << std::flush;
}

// Commands the position where the arm is, until the robot refuses. What else may go wrong meanwhile, such as a robot
// that is switched off and on again, is told and does not end the program; Ctrl-C does.
bool wait_for_refusal(NorvikRobot& robot) {
  std::cout << "Waiting for a command to be refused..." << std::endl;
  ControlStatus last = ControlStatus::SUCCESS;
  const auto is_over = [&] {
    examples::sleep_s(0.2);
    CallLog log;  // Collects what the library says about the call.
    const ControlStatus status = robot.set_joint_positions(kTarget, kLeftArm, {}, true, 0.5, 5.0);
    if (status != last) {
      examples::print_outcome("Command", status, log);
    }
    last = status;
    return status == ControlStatus::FAULT || !robot.is_running();
  };
  examples::wait_until(is_over, kPatience);
  if (last != ControlStatus::FAULT) {
    std::cout << "No command was refused." << std::endl;
  }
  return last == ControlStatus::FAULT;
}

}  // namespace

int main(int argc, char** argv) {
  const bool until_refused = argc > 1 && std::string(argv[1]) == "--until-refused";

  // One object per robot model and process.
  auto& robot = NorvikRobot::get_instance(examples::model());
  if (!examples::connect(robot)) {
    robot.destroy();
    return 1;
  }

  print_joints(robot, "Left arm before:");
  // Waits until the arm is there: the farthest joint moves at 0.5 rad/s, and after 15 s the call gives up.
  examples::report("Move", [&] { return robot.set_joint_positions(kTarget, kLeftArm, {}, true, 0.5, 15.0); });
  print_joints(robot, "Left arm after:");

  // A moment for the joint states: they come by a channel of their own, and the newest may be from just before the end.
  bool good = examples::wait_until(
      [&] { return examples::is_near(robot.get_joint_positions(kLeftArm), kTarget, kTolerance); }, 1.0);
  std::cout << (good ? "The arm arrived." : "The arm did not arrive.") << std::endl;
  if (until_refused) {
    good = wait_for_refusal(robot) && good;
  }

  robot.destroy();  // The last call of a program.
  return good ? 0 : 1;
}
