#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>
#include <string>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/motion.hpp>

namespace norvik::sdk {

// Result of a navigation operation.
enum class NaviStatus : int32_t {
  SUCCESS = 0,           // done, or accepted by the service when the call does not wait
  FAILED = 1,            // the task ended badly, or the call that watched it was told to stop
  TIMEOUT = 2,           // the time of the call has passed
  INVALID_INPUT = 3,     // an argument is wrong; nothing was sent
  REQUEST_FAILED = 5,    // no channel to the service, no reply, or the service refused
  SERVICE_NOT_READY = 6  // the service is not working, or has not been heard yet
};

// "SUCCESS" and so on; a value without a name as its number.
NORVIK_SDK_EXPORT std::string to_string(NaviStatus value);
NORVIK_SDK_EXPORT std::ostream& operator<<(std::ostream& out, NaviStatus value);

// How far the service has come with a task: the values of TaskHandle::status and of get_navigation_status().
struct NaviTaskStatus {
  enum Value : int32_t {
    UNKNOWN = 0,
    RUNNING = 1,
    SUCCESS = 2,
    FAILED = 3,       // no way, or out of the service's own time
    INTERRUPTED = 4,  // stopped, or replaced by another task
    OCCUPIED = 5,     // the goal lies in an obstacle
    COLLISION = 6,    // drove into something
    CLOSE_TO_OBSTACLE = 7
  };
};

// A task that was handed to the service, at one time.
struct TaskHandle {
  std::string task_id;
  int32_t status = NaviTaskStatus::UNKNOWN;  // UNKNOWN: the request did not get through, or nothing is known yet
  std::string message;                       // of the service, or why the request did not get through
};

// One point of a way.
struct Waypoint {
  Pose pose;
  double pos_err_x = 0.1;  // how near counts as passed, metres
  double pos_err_y = 0.1;
  double ori_err = 0.1;    // radians
  double vel_scale = 1.0;  // shares of the limits in force
  double acc_scale = 1.0;
  double jerk_scale = 1.0;
};

// A box in the world, or on a link of the robot.
struct BoxInfo {
  std::array<float, 3> box_size{};  // full lengths of the sides, metres
  Pose box_pose;                    // of its centre, in `parent_link_name`
  int32_t box_tag = 0;              // the caller's number for it; -1 in an answer: not made by this library
  std::string parent_link_name;
};

}  // namespace norvik::sdk
