// Moves the left arm of a K2 and reads its joints back.
//
//   move_arm                   moves the arm and back-checks where it is; exit status 0 when it arrived
//   move_arm --until-refused   then sends small commands until the robot refuses one, to show what a refusal looks
//                              like. Make the simulated robot refuse from a second terminal:
//     norvik_simulator --control '{"op":"error","group":"left_arm","code":196609,"description":"motor too hot"}'

#include <chrono>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

#include <norvik_sdk/norvik_sdk.hpp>

using namespace norvik::sdk;

namespace {

const std::vector<std::string> kLeftArm = {"left_arm"};
const std::vector<double> kTarget = {0.3, 0.4, 0.0, -0.8, 0.0, 0.3, 0.0};  // radians
constexpr double kTolerance = 0.02;                                        // radians

const char* name_of(ControlStatus status) {
  static const char* const kNames[] = {
      "SUCCESS",           "TIMEOUT",           "FAULT",        "INVALID_INPUT",    "INIT_FAILED", "IN_PROGRESS",
      "STOPPED_UNREACHED", "DATA_FETCH_FAILED", "PUBLISH_FAIL", "COMM_DISCONNECTED"};
  const auto index = static_cast<size_t>(status);
  return index < std::size(kNames) ? kNames[index] : "unknown";
}

// The robot streams its state; the first message takes a moment.
bool wait_for_state(NorvikRobot& robot) {
  for (int i = 0; i < 50; ++i) {
    if (!robot.get_joint_positions(kLeftArm).empty()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  return false;
}

void print_joints(NorvikRobot& robot, const std::string& title) {
  std::cout << title << "\n  joint              position [rad]  velocity [rad/s]\n";
  for (const JointState& joint : robot.get_joint_states(kLeftArm)) {
    std::cout << "  " << std::left << std::setw(18) << joint.name << std::right << std::fixed << std::setprecision(4)
              << std::setw(15) << joint.position << std::setw(18) << joint.velocity << '\n';
  }
  std::cout << std::flush;
}

// The last `count` lines of a text.
std::string last_lines(const std::string& text, int count) {
  size_t start = text.size();
  while (count-- > 0 && start != std::string::npos && start > 0) {
    start = text.rfind('\n', start - 1);
  }
  return start == std::string::npos ? text : text.substr(start + 1);
}

// Every failure leaves its reason in the library's log.
void print_status(NorvikRobot& robot, const std::string& what, ControlStatus status) {
  std::cout << what << ": " << name_of(status) << std::endl;
  if (status == ControlStatus::SUCCESS) {
    return;
  }
  const auto log = robot.get_log_information(60, LogLevel::error);
  if (log && !log->content.empty()) {
    std::cout << "  reason: " << last_lines(log->content, 3) << std::endl;
  }
}

bool has_arrived(NorvikRobot& robot) {
  const std::vector<double> positions = robot.get_joint_positions(kLeftArm);
  bool arrived = positions.size() == kTarget.size();
  for (size_t i = 0; arrived && i < positions.size(); ++i) {
    arrived = std::abs(positions[i] - kTarget[i]) <= kTolerance;
  }
  return arrived;
}

// Commands the position where the arm is, until the robot refuses. What else may go wrong meanwhile, such as a robot
// that is switched off and on again, is told and does not end the program.
bool wait_for_refusal(NorvikRobot& robot) {
  std::cout << "Waiting for a command to be refused..." << std::endl;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(45);
  ControlStatus last = ControlStatus::SUCCESS;
  while (std::chrono::steady_clock::now() < deadline) {
    const ControlStatus status = robot.set_joint_positions(kTarget, kLeftArm, {}, true, 0.5, 5.0);
    if (status != last) {
      print_status(robot, "Command", status);
    }
    if (status == ControlStatus::FAULT) {
      return true;
    }
    last = status;
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
  }
  std::cout << "No command was refused." << std::endl;
  return false;
}

}  // namespace

int main(int argc, char** argv) {
  const bool until_refused = argc > 1 && std::string(argv[1]) == "--until-refused";

  // One object per robot model and process. init() joins the robot's network and waits for the robot, up to 40 s.
  auto& robot = NorvikRobot::get_instance(MachineType::K2);
  if (!robot.init() || !wait_for_state(robot)) {
    std::cerr << "No robot found. Is it on, and in the same network and DDS domain?\n";
    robot.destroy();
    return 1;
  }

  print_joints(robot, "Left arm before:");
  // Waits until the arm is there: the farthest joint moves at 0.5 rad/s, and after 15 s the call gives up.
  const ControlStatus status = robot.set_joint_positions(kTarget, kLeftArm, {}, true, 0.5, 15.0);
  print_status(robot, "Move", status);
  print_joints(robot, "Left arm after:");

  bool good = has_arrived(robot);
  std::cout << (good ? "The arm arrived." : "The arm did not arrive.") << std::endl;
  if (until_refused) {
    good = wait_for_refusal(robot) && good;
  }

  robot.destroy();  // The last call of a program.
  return good ? 0 : 1;
}
