#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace norvik::sdk {

// Set-point of one joint. Radians, rad/s, rad/s^2, Nm; for a gripper metres, m/s, m/s^2 and an effort in percent,
// in (0, 100].
struct JointCommand {
  double position = 0.0;
  double velocity = 0.0;
  double acceleration = 0.0;
  double effort = 0.0;
};

struct TrajectoryPoint {
  double time_from_start = 0.0;                 // seconds since the start of the trajectory
  std::vector<JointCommand> joint_command_vec;  // one for each joint, in the trajectory's joint order
};

// Addresses either whole groups or single joints.
struct Trajectory {
  std::vector<TrajectoryPoint> points;
  std::vector<std::string> joint_groups;
  std::vector<std::string> joint_names;
};

// One joint at one time.
struct JointState {
  JointState() = default;
  JointState(double position_value, double velocity_value, double acceleration_value, double effort_value,
             double current_value, int64_t time_ns)
      : timestamp_ns(time_ns),
        position(position_value),
        velocity(velocity_value),
        acceleration(acceleration_value),
        effort(effort_value),
        current(current_value) {}

  std::string name;
  int64_t timestamp_ns = 0;
  double position = 0.0;      // radians; metres for a gripper
  double velocity = 0.0;      // per second
  double acceleration = 0.0;  // always 0: the robot does not report it
  double effort = 0.0;        // Nm
  double current = 0.0;       // amperes
};

struct JointStateMessage {
  int64_t timestamp_ns = 0;
  std::vector<JointState> joint_states;
};

}  // namespace norvik::sdk
