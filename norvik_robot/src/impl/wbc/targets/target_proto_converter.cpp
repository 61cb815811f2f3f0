#include "impl/wbc/targets/target_proto_converter.hpp"

#include <algorithm>
#include <cmath>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/targets/target_proto_parts.hpp"

namespace norvik::sdk {

namespace {

// What is wrong, null when nothing is.
using Finding = const char*;

bool is_valid_time(double seconds) { return std::isfinite(seconds) && seconds >= 0.0; }

template <typename Numbers>
bool all_finite(const Numbers& numbers) {
  return std::all_of(std::begin(numbers), std::end(numbers), [](double number) { return std::isfinite(number); });
}

bool is_finite(const JointCommand& command) {
  return all_finite(
      std::initializer_list<double>{command.position, command.velocity, command.acceleration, command.effort});
}

Finding check_group_command(const GroupCommand& command, std::size_t joint_num) {
  if (!is_valid_time(command.time_from_start_s)) {
    return "group command has invalid time_from_start_s";
  }
  if (command.joint_commands.size() != joint_num) {
    return "group command joint_commands size mismatch with joint_names";
  }
  if (!std::all_of(command.joint_commands.begin(), command.joint_commands.end(), is_finite)) {
    return "group command contains non-finite joint command";
  }
  return nullptr;
}

Finding check_frame_triad(const FrameTriad& frame) {
  if (!frame.has_pose && !frame.has_twist && !frame.has_wrench) {
    return "frame triad must contain pose, twist, or wrench";
  }
  if (frame.has_pose && !all_finite(frame.pose)) {
    return "frame triad pose contains non-finite value";
  }
  if (frame.has_twist && !all_finite(frame.twist)) {
    return "frame triad twist contains non-finite value";
  }
  if (frame.has_wrench && !all_finite(frame.wrench)) {
    return "frame triad wrench contains non-finite value";
  }
  return nullptr;
}

Finding check_task_command(const TaskCommand& command, std::size_t subtask_num) {
  if (!is_valid_time(command.time_from_start_s)) {
    return "task command has invalid time_from_start_s";
  }
  if (subtask_num != 0 && command.subtask_commands.size() != subtask_num) {
    return "task command subtask_commands size mismatch with subtask_names";
  }
  for (const FrameTriad& frame : command.subtask_commands) {
    if (const Finding finding = check_frame_triad(frame)) {
      return finding;
    }
  }
  return nullptr;
}

Finding check_group(const std::string& group, const TargetGroupTrajectory& trajectory) {
  if (group.empty()) {
    return "target_group_trajectory_map contains empty group name";
  }
  for (const GroupCommand& command : trajectory.group_commands) {
    if (const Finding finding = check_group_command(command, trajectory.joint_names.size())) {
      return finding;
    }
  }
  return nullptr;
}

Finding check_task(const std::string& task, const TargetTaskTrajectory& trajectory) {
  if (task.empty()) {
    return "target_task_trajectory_map contains empty task name";
  }
  for (const TaskCommand& command : trajectory.task_commands) {
    if (const Finding finding = check_task_command(command, trajectory.subtask_names.size())) {
      return finding;
    }
  }
  return nullptr;
}

void convert_config(const TargetConfig& config, tavrinox_proto::TargetConfig& proto) {
  proto.set_target_data(config.target_data);
  proto.set_target_type(config.target_type);
  proto.set_target_sampling(static_cast<tavrinox_proto::TargetSampling>(config.target_sampling));
  proto.set_target_priority(config.target_priority);
  proto.set_target_id(config.target_id);
  proto.mutable_target_ts()->set_sec(config.target_ts.sec);
  proto.mutable_target_ts()->set_nanosec(config.target_ts.nanosec);
}

void convert_header(int64_t timestamp_ns, const std::string& frame_id, core_proto::Header& header) {
  set_header_time(timestamp_ns, header);
  header.set_frame_id(frame_id);
}

void convert_group_command(const GroupCommand& command, tavrinox_proto::GroupCommand& proto) {
  set_duration_rounded(command.time_from_start_s, *proto.mutable_time_from_start());
  proto.mutable_joint_commands()->Reserve(static_cast<int>(command.joint_commands.size()));
  for (const JointCommand& joint : command.joint_commands) {
    target_proto::add_joint_command(joint, proto);
  }
}

void convert_frame_triad(const FrameTriad& frame, spatial_proto::FrameTriad& proto) {
  convert_header(frame.timestamp_ns, frame.frame_id, *proto.mutable_header());
  proto.set_body_frame_id(frame.body_frame_id);
  proto.set_reference_frame_id(frame.reference_frame_id);
  if (frame.has_pose) {
    target_proto::set_pose(frame.pose.data(), *proto.mutable_pose_msg()->mutable_pose());
  }
  if (frame.has_twist) {
    spatial_proto::Twist& twist = *proto.mutable_twist_msg()->mutable_twist();
    target_proto::set_vector(frame.twist[0], frame.twist[1], frame.twist[2], *twist.mutable_linear());
    target_proto::set_vector(frame.twist[3], frame.twist[4], frame.twist[5], *twist.mutable_angular());
  }
  if (frame.has_wrench) {
    spatial_proto::Wrench& wrench = *proto.mutable_wrench_msg()->mutable_wrench();
    target_proto::set_vector(frame.wrench[0], frame.wrench[1], frame.wrench[2], *wrench.mutable_force());
    target_proto::set_vector(frame.wrench[3], frame.wrench[4], frame.wrench[5], *wrench.mutable_torque());
  }
}

void convert_group(const TargetGroupTrajectory& trajectory, tavrinox_proto::TargetGroupTrajectory& proto) {
  convert_config(trajectory.target_config, *proto.mutable_target_config());
  proto.mutable_joint_names()->Assign(trajectory.joint_names.begin(), trajectory.joint_names.end());
  proto.mutable_group_commands()->Reserve(static_cast<int>(trajectory.group_commands.size()));
  for (const GroupCommand& command : trajectory.group_commands) {
    convert_group_command(command, *proto.add_group_commands());
  }
}

void convert_task(const TargetTaskTrajectory& trajectory, tavrinox_proto::TargetTaskTrajectory& proto) {
  convert_config(trajectory.target_config, *proto.mutable_target_config());
  proto.mutable_group_names()->Assign(trajectory.group_names.begin(), trajectory.group_names.end());
  proto.mutable_joint_names()->Assign(trajectory.joint_names.begin(), trajectory.joint_names.end());
  proto.mutable_subtask_names()->Assign(trajectory.subtask_names.begin(), trajectory.subtask_names.end());
  for (const TaskCommand& command : trajectory.task_commands) {
    tavrinox_proto::TaskCommand& command_proto = *proto.add_task_commands();
    set_duration_rounded(command.time_from_start_s, *command_proto.mutable_time_from_start());
    for (const FrameTriad& frame : command.subtask_commands) {
      convert_frame_triad(frame, *command_proto.add_subtask_commands());
    }
  }
}

}  // namespace

std::optional<std::string> TargetProtoConverter::validate_target_input(const TavrinoXTarget& target) {
  if (target.target_group_trajectory_map.empty() && target.target_task_trajectory_map.empty()) {
    return "target is empty";
  }
  for (const auto& [group, trajectory] : target.target_group_trajectory_map) {
    if (const Finding finding = check_group(group, trajectory)) {
      return finding;
    }
  }
  for (const auto& [task, trajectory] : target.target_task_trajectory_map) {
    if (const Finding finding = check_task(task, trajectory)) {
      return finding;
    }
  }
  return std::nullopt;
}

std::shared_ptr<tavrinox_proto::TavrinoXTarget> TargetProtoConverter::convert_target_to_proto(
    const TavrinoXTarget& target) {
  auto proto = std::make_shared<tavrinox_proto::TavrinoXTarget>();
  convert_header(target.timestamp_ns, target.frame_id, *proto->mutable_header());
  for (const auto& [group, trajectory] : target.target_group_trajectory_map) {
    convert_group(trajectory, (*proto->mutable_target_group_trajectory_map())[group]);
  }
  for (const auto& [task, trajectory] : target.target_task_trajectory_map) {
    convert_task(trajectory, (*proto->mutable_target_task_trajectory_map())[task]);
  }
  return proto;
}

}  // namespace norvik::sdk
