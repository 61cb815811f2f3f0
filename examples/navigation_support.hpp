// What the examples of navigation share, beside support.hpp.
#pragma once

#include <string>

#include "support.hpp"

namespace examples {

// In the plane: x and y in metres, the direction in radians.
inline Pose planar(double x, double y, double yaw = 0.0) {
  return {x, y, 0.0, 0.0, 0.0, std::sin(yaw / 2.0), std::cos(yaw / 2.0)};
}

inline double distance(const Pose& one, const Pose& other) { return std::hypot(one.x - other.x, one.y - other.y); }

inline std::string text_of(const Pose& pose) {
  return "x " + std::to_string(pose.x) + " m, y " + std::to_string(pose.y) + " m";
}

// Calls and prints what came of it; true for SUCCESS.
inline bool report_navigation(const std::string& what, const std::function<NaviStatus()>& call) {
  CallLog log;
  const NaviStatus status = call();
  std::cout << what << ": " << status << std::endl;
  for (const CallRecord& record : log.records()) {
    std::cout << "  " << record.level << ": " << record.text << std::endl;
  }
  return status == NaviStatus::SUCCESS;
}

// Looks every 0.2 s how a task comes on, prints where the robot is, and ends when the task does: true when it
// succeeded.
inline bool follow_task(NorvikNavigation& navigation, const TaskHandle& handle, double timeout_s) {
  std::cout << "Task " << handle.task_id << ": " << handle.message << std::endl;
  int32_t status = handle.status;
  const bool ended = handle.status == NaviTaskStatus::RUNNING &&
                     wait_until(
                         [&] {
                           sleep_s(0.2);
                           status = navigation.get_navigation_target_status(handle.task_id).status;
                           std::cout << "  at " << text_of(navigation.get_current_pose()) << std::endl;
                           return status > NaviTaskStatus::RUNNING;
                         },
                         timeout_s);
  std::cout << (ended ? "  ended with status " : "  did not end, status ") << status << std::endl;
  return status == NaviTaskStatus::SUCCESS;
}

// Whether the robot believes to be near the goal.
inline bool is_at(NorvikNavigation& navigation, const Pose& goal, double tolerance = 0.15) {
  const Pose pose = navigation.get_current_pose();
  const bool near = distance(pose, goal) <= tolerance;
  std::cout << (near ? "  arrived at " : "  did not arrive, is at ") << text_of(pose) << std::endl;
  return near;
}

// Runs an example: connects to the robot's navigation, lets it work, says how it ended. The result is the program's
// exit status. `needs_place`: the robot has to know where it is before the example begins.
inline int run_navigation(const std::function<bool(NorvikNavigation&)>& example, bool needs_place = true) {
  auto& navigation = NorvikNavigation::get_instance(model());
  bool good = navigation.init();
  if (!good || (needs_place && !wait_until_ready(navigation, 10.0))) {
    std::cerr << "No navigation found. Is the robot on, in the same network, and does it know where it is?\n";
    good = false;
  }
  good = good && example(navigation);
  std::cout << (good ? "Done." : "Failed.") << std::endl;
  NorvikRobot::get_instance(model()).destroy();  // The last call of a program.
  return good ? 0 : 1;
}

}  // namespace examples
