// What every example needs: a robot that takes commands, names for its answers, and waiting for what is to happen.
#pragma once

#include <chrono>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <norvik_sdk/norvik_sdk.hpp>

namespace examples {

using namespace norvik::sdk;

inline const char* name_of(ControlStatus status) {
  static const char* const kNames[] = {
      "SUCCESS",           "TIMEOUT",           "FAULT",        "INVALID_INPUT",    "INIT_FAILED", "IN_PROGRESS",
      "STOPPED_UNREACHED", "DATA_FETCH_FAILED", "PUBLISH_FAIL", "COMM_DISCONNECTED"};
  const auto index = static_cast<size_t>(status);
  return index < std::size(kNames) ? kNames[index] : "unknown";
}

// The model of the robot: NORVIK_MODEL is k2, which is the default, or r5.
inline MachineType model() {
  const char* const name = std::getenv("NORVIK_MODEL");
  return name != nullptr && std::string(name) == "r5" ? MachineType::R5 : MachineType::K2;
}

// Looks every 10 ms until the condition holds; false when it does not in time.
inline bool wait_until(const std::function<bool()>& condition, double timeout_s) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(timeout_s);
  while (!condition()) {
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return true;
}

inline void sleep_s(double seconds) { std::this_thread::sleep_for(std::chrono::duration<double>(seconds)); }

// True when there are as many values as wanted, each at most `tolerance` away.
inline bool is_near(const std::vector<double>& values, const std::vector<double>& wanted, double tolerance) {
  bool near = values.size() == wanted.size();
  for (size_t i = 0; near && i < values.size(); ++i) {
    near = std::abs(values[i] - wanted[i]) <= tolerance;
  }
  return near;
}

// The robot reports its state, which commands are judged by. Asks with a motion without speed: it is refused only after
// that look at the robot's state, and nothing is sent.
inline bool takes_commands(NorvikRobot& robot) {
  const auto head = robot.get_joint_positions({"head"});
  return !head.empty() && robot.get_odom() &&
         robot.set_joint_positions(head, {"head"}, {}, false, 0.0) == ControlStatus::INVALID_INPUT;
}

// init() joins the robot's network and waits for the robot, up to 40 s; the first messages take a moment more.
inline bool connect(NorvikRobot& robot, const std::set<SensorType>& sensors = {}, bool synced = false) {
  const bool connected = robot.init(sensors, synced) && wait_until([&] { return takes_commands(robot); }, 5.0);
  if (!connected) {
    std::cerr << "No robot found. Is it on, and in the same network and DDS domain?\n";
  }
  return connected;
}

// The last `count` lines of a text.
inline std::string last_lines(const std::string& text, int count) {
  size_t start = text.size();
  while (count-- > 0 && start != std::string::npos && start > 0) {
    start = text.rfind('\n', start - 1);
  }
  return start == std::string::npos ? text : text.substr(start + 1);
}

// Prints what came of a call; true for SUCCESS. Every failure leaves its reason in the library's log.
inline bool report(NorvikRobot& robot, const std::string& what, ControlStatus status) {
  std::cout << what << ": " << name_of(status) << std::endl;
  if (status == ControlStatus::SUCCESS) {
    return true;
  }
  std::this_thread::sleep_for(std::chrono::milliseconds(200));  // The log is written by a thread of its own.
  const auto log = robot.get_log_information(60, LogLevel::error);
  if (log && !log->content.empty()) {
    std::cout << "  reason: " << last_lines(log->content, 2) << std::endl;
  }
  return false;
}

// Runs an example: connects, lets it work, says how it ended. The result is the program's exit status.
// Only the `sensors` that it names are opened; `synced` is what get_synced_observation() needs.
inline int run(const std::function<bool(NorvikRobot&)>& example, const std::set<SensorType>& sensors = {},
               bool synced = false) {
  auto& robot = NorvikRobot::get_instance(model());
  const bool good = connect(robot, sensors, synced) && example(robot);
  std::cout << (good ? "Done." : "Failed.") << std::endl;
  robot.destroy();  // The last call of a program.
  return good ? 0 : 1;
}

}  // namespace examples
