#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/joints.hpp>

namespace norvik::sdk {

struct TargetTime {
  int64_t sec = 0;
  uint32_t nanosec = 0;
};

// How the controller is to treat one trajectory. The integers are the controller's own numbers.
struct TargetConfig {
  // What the commands carry: joint position 1, velocity 2, acceleration 4, effort 8, frame pose 16, frame twist 32,
  // frame wrench 64 (to be added up), or 255 for the controller's choice.
  int32_t target_data = 0;
  // How it joins the running targets: 0 none, 1 touch, 2 clear, 4 prepend now, 8 append, 10 override,
  // 14 preempt and override, 255 default.
  int32_t target_type = 0;
  // How it is sampled: 0 default, 1 direct pass, 2 linear, 3 trapezoidal, 4 S-curve, 5 cubic, 6 quintic, 7 B-splines,
  // 15 custom.
  int32_t target_sampling = 0;
  int32_t target_priority = 0;
  std::string target_id;
  TargetTime target_ts;
};

struct GroupCommand {
  double time_from_start_s = 0.0;            // finite, not negative
  std::vector<JointCommand> joint_commands;  // one for each joint name; wire units: a gripper in millimetres
};

// Joint-space trajectory of one group.
struct TargetGroupTrajectory {
  TargetConfig target_config;
  std::vector<std::string> joint_names;
  std::vector<GroupCommand> group_commands;
};

// Wanted motion of one frame. At least one of the three flags must be set.
struct FrameTriad {
  int64_t timestamp_ns = 0;
  std::string frame_id;            // the frame that moves
  std::string body_frame_id;       // the body it belongs to
  std::string reference_frame_id;  // the frame the numbers are told in
  std::array<double, 7> pose{};    // x, y, z (m), qx, qy, qz, qw
  bool has_pose = false;
  std::array<double, 6> twist{};  // linear x, y, z (m/s), angular x, y, z (rad/s)
  bool has_twist = false;
  std::array<double, 6> wrench{};  // force x, y, z (N), torque x, y, z (Nm)
  bool has_wrench = false;
};

struct TaskCommand {
  double time_from_start_s = 0.0;            // finite, not negative
  std::vector<FrameTriad> subtask_commands;  // one for each subtask name
};

// Cartesian trajectory of one task.
struct TargetTaskTrajectory {
  TargetConfig target_config;
  std::vector<std::string> group_names;
  std::vector<std::string> joint_names;
  std::vector<std::string> subtask_names;
  std::vector<TaskCommand> task_commands;
};

// A complete target for the whole-body controller, for users who need more than the joint and base operations give.
struct TavrinoXTarget {
  int64_t timestamp_ns = 0;  // a negative time is sent as 0
  std::string frame_id;
  std::unordered_map<std::string, TargetGroupTrajectory> target_group_trajectory_map;  // by group name
  std::unordered_map<std::string, TargetTaskTrajectory> target_task_trajectory_map;    // by task name
};

}  // namespace norvik::sdk
