// What the examples share: the robot that they run on, printing what came of a call, and waiting for what is to happen.
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

// init() joins the robot's network and waits for the robot, up to 40 s; its first messages take a moment more.
inline bool connect(NorvikRobot& robot, const std::set<SensorType>& sensors = {}, bool synced = false) {
  const bool connected = robot.init(sensors, synced) && wait_until_ready(robot, 5.0);
  if (!connected) {
    std::cerr << "No robot found. Is it on, and in the same network and DDS domain?\n";
  }
  return connected;
}

// Prints what came of a call, and for a failure what the library said about it.
inline void print_outcome(const std::string& what, ControlStatus status, const CallLog& log) {
  std::cout << what << ": " << status << std::endl;
  for (const CallRecord& record : log.records()) {
    std::cout << "  " << record.level << ": " << record.text << std::endl;
  }
}

// Calls and prints what came of it; true for SUCCESS.
inline bool report(const std::string& what, const std::function<ControlStatus()>& call) {
  CallLog log;  // Collects the warnings and errors that the library writes on this thread.
  const ControlStatus status = call();
  print_outcome(what, status, log);
  return status == ControlStatus::SUCCESS;
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
