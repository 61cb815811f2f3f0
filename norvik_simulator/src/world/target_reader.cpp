#include "world/target_reader.hpp"

#include <algorithm>
#include <cmath>
#include <optional>

#include "world/blend.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

constexpr double kMaxTimeSeconds = 1e6;

constexpr int32_t kClearBit = proto::TARGET_TYPE_CLEAR;
constexpr int32_t kNowBit = proto::TARGET_TYPE_PREPENDNOW;
constexpr int32_t kAppendBit = proto::TARGET_TYPE_APPEND;

bool is_known_type(int32_t type) {
  constexpr int32_t kKnown[] = {proto::TARGET_TYPE_CLEAR,    proto::TARGET_TYPE_PREPENDNOW, proto::TARGET_TYPE_APPEND,
                                proto::TARGET_TYPE_OVERRIDE, proto::TARGET_TYPE_PROVERRIDE, proto::TARGET_TYPE_DEFAULT};
  return std::find(std::begin(kKnown), std::end(kKnown), type) != std::end(kKnown);
}

// Empty for a time that is negative, not finite or beyond all reason.
std::optional<double> seconds_of(const core_proto::Duration& duration) {
  const double seconds = duration.sec() + 1e-9 * static_cast<double>(duration.nanosec());
  if (seconds >= 0.0 && seconds <= kMaxTimeSeconds) {
    return seconds;
  }
  return std::nullopt;
}

// Finite, and small enough to be interpolated without overflow.
bool all_usable(std::initializer_list<double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return std::abs(value) <= 1e9; });
}

// Times count from the start of the trajectory; waypoints count from the one before.
std::string take_time(const core_proto::Duration& time, double& last_time, double& duration) {
  const auto seconds = seconds_of(time);
  if (!seconds) {
    return "time_from_start is negative, not finite or too long";
  }
  if (*seconds < last_time) {
    return "time_from_start decreases";
  }
  duration = *seconds - last_time;
  last_time = *seconds;
  return "";
}

std::string find_joints(const GroupModel& group, const proto::TargetGroupTrajectory& target,
                        std::vector<size_t>& indices) {
  if (target.joint_names().empty() && !target.group_commands().empty()) {
    return "names no joint";
  }
  for (const std::string& name : target.joint_names()) {
    const auto it = std::find(group.joints.begin(), group.joints.end(), name);
    if (it == group.joints.end()) {
      return "has no joint " + printable_name(name);
    }
    const auto index = static_cast<size_t>(it - group.joints.begin());
    if (std::find(indices.begin(), indices.end(), index) != indices.end()) {
      return "names joint " + name + " twice";
    }
    indices.push_back(index);
  }
  return "";
}

// Only tools take their speed from the command; the velocity of a body joint belongs to the shape of its trajectory.
bool has_commanded_speed(const GroupModel& group) {
  return group.kind == GroupKind::kGripper || group.kind == GroupKind::kHand;
}

std::string read_waypoint(const GroupModel& group, const std::vector<size_t>& indices,
                          const proto::GroupCommand& command, Waypoint& waypoint) {
  if (static_cast<size_t>(command.joint_commands_size()) != indices.size()) {
    return "has " + std::to_string(command.joint_commands_size()) + " joint commands for " +
           std::to_string(indices.size()) + " joints";
  }
  for (size_t i = 0; i < indices.size(); ++i) {
    const proto::JointCommand& joint = command.joint_commands(static_cast<int>(i));
    if (!all_usable({joint.position(), joint.velocity(), joint.acceleration(), joint.effort()})) {
      return "has a value that is not finite or too large for joint " + group.joints[indices[i]];
    }
    waypoint.positions[indices[i]] = joint.position();
    if (has_commanded_speed(group)) {
      waypoint.speeds[indices[i]] = std::abs(joint.velocity());
    }
  }
  return "";
}

const spatial_proto::FrameTriad* single_triad(const proto::TaskCommand& command) {
  return command.subtask_commands_size() == 1 ? &command.subtask_commands(0) : nullptr;
}

std::string read_pose(const spatial_proto::FrameTriad& triad, double (&position)[3], double (&orientation)[4]) {
  if (!triad.pose_msg().has_pose()) {
    return "has no pose";
  }
  const auto& p = triad.pose_msg().pose().position();
  const auto& q = triad.pose_msg().pose().orientation();
  const double norm = std::sqrt(q.x() * q.x() + q.y() * q.y() + q.z() * q.z() + q.w() * q.w());
  if (!all_usable({p.x(), p.y(), p.z(), norm}) || norm < 1e-6) {
    return "has a pose that is not finite, too large, or without orientation";
  }
  const double position_read[] = {p.x(), p.y(), p.z()};
  const double orientation_read[] = {q.x() / norm, q.y() / norm, q.z() / norm, q.w() / norm};
  std::copy(std::begin(position_read), std::end(position_read), position);
  std::copy(std::begin(orientation_read), std::end(orientation_read), orientation);
  return "";
}

double yaw_of(const double (&q)[4]) {
  return std::atan2(2.0 * (q[3] * q[2] + q[0] * q[1]), 1.0 - 2.0 * (q[1] * q[1] + q[2] * q[2]));
}

std::string read_planar_pose(const PlanarPose& from, const PlanarPose& map_from_odom,
                             const spatial_proto::FrameTriad& triad, PlanarPose& pose) {
  double position[3];
  double orientation[4];
  if (std::string refusal = read_pose(triad, position, orientation); !refusal.empty()) {
    return refusal;
  }
  pose = {position[0], position[1], yaw_of(orientation)};
  const std::string& frame = triad.header().frame_id();
  if (frame == "base_link" || frame == "rel(0)") {
    pose = compose(from, pose);
  } else if (frame == "map") {
    pose = compose(inverse(map_from_odom), pose);
  } else if (frame != "odom") {
    return "has a pose in unknown frame " + printable_name(frame);
  }
  pose.yaw = from.yaw + wrap_angle(pose.yaw - from.yaw);
  return "";
}

}  // namespace

std::string read_target_config(const proto::TargetConfig& config, Motion& motion) {
  const int32_t type = config.target_type();
  if (!is_known_type(type)) {
    return "has target_type " + std::to_string(type) + ", which is not simulated";
  }
  motion.blend = find_blend(config.target_sampling());
  if (motion.blend == nullptr) {
    return "has target_sampling " + std::to_string(config.target_sampling()) + ", which is not simulated";
  }
  motion.clear = (type & kClearBit) != 0;
  motion.from_measured = (type & kNowBit) != 0;
  motion.in_front = (type & kNowBit) != 0 && (type & kAppendBit) == 0;
  motion.target_id = config.target_id().substr(0, 256);
  motion.target_sec = config.target_ts().sec();
  motion.target_nanosec = config.target_ts().nanosec();
  return "";
}

std::string read_group_motion(const GroupModel& group, const std::vector<double>& hold,
                              const proto::TargetGroupTrajectory& target, Motion& motion) {
  const int32_t data = target.target_config().target_data();
  if ((data & proto::TARGET_DATA_JOINT_POS) == 0) {
    return "has target_data " + std::to_string(data) + " without joint positions, which is not simulated";
  }
  std::vector<size_t> indices;
  std::string refusal = read_target_config(target.target_config(), motion);
  if (refusal.empty()) {
    refusal = find_joints(group, target, indices);
  }
  Waypoint waypoint{0.0, hold, std::vector<double>(group.joints.size(), 0.0)};
  double last_time = 0.0;
  const bool only_clears = target.target_config().target_type() == proto::TARGET_TYPE_CLEAR;
  for (int i = 0; refusal.empty() && !only_clears && i < target.group_commands_size(); ++i) {
    const proto::GroupCommand& command = target.group_commands(i);
    refusal = take_time(command.time_from_start(), last_time, waypoint.duration);
    if (refusal.empty()) {
      refusal = read_waypoint(group, indices, command, waypoint);
    }
    motion.waypoints.push_back(waypoint);
  }
  return refusal;
}

std::string read_chassis_poses(const PlanarPose& from, const PlanarPose& map_from_odom,
                               const proto::TargetTaskTrajectory& target, Motion& motion) {
  std::string refusal = read_target_config(target.target_config(), motion);
  PlanarPose last = from;
  double last_time = 0.0;
  for (const proto::TaskCommand& command : target.task_commands()) {
    const spatial_proto::FrameTriad* triad = single_triad(command);
    if (triad == nullptr) {
      return "needs one pose in each command";
    }
    PlanarPose pose;
    Waypoint waypoint{0.0, {}, {0.0, 0.0, 0.0}};
    if (refusal.empty()) {
      refusal = take_time(command.time_from_start(), last_time, waypoint.duration);
    }
    if (refusal.empty()) {
      refusal = read_planar_pose(last, map_from_odom, *triad, pose);
    }
    if (!refusal.empty()) {
      return refusal;
    }
    waypoint.positions = {pose.x, pose.y, pose.yaw};
    motion.waypoints.push_back(std::move(waypoint));
    last = pose;
  }
  return refusal;
}

std::string read_chassis_twist(const proto::TargetTaskTrajectory& target, PlanarTwist& twist, double& time_s) {
  if (target.task_commands().empty()) {
    twist = {};
    time_s = 0.0;
    return "";
  }
  const spatial_proto::FrameTriad* triad = single_triad(target.task_commands(0));
  if (target.task_commands_size() != 1 || triad == nullptr || !triad->twist_msg().has_twist()) {
    return "needs exactly one twist";
  }
  const auto seconds = seconds_of(target.task_commands(0).time_from_start());
  if (!seconds) {
    return "time_from_start is negative, not finite or too long";
  }
  const auto& wanted = triad->twist_msg().twist();
  twist = {wanted.linear().x(), wanted.linear().y(), wanted.angular().z()};
  time_s = *seconds;
  return all_usable({twist.vx, twist.vy, twist.wz}) ? "" : "has a twist that is not finite or too large";
}

std::string read_frame_targets(const proto::TargetTaskTrajectory& target, std::vector<FrameTarget>& frames,
                               double& duration_s) {
  duration_s = 0.0;
  if (target.target_config().target_type() == proto::TARGET_TYPE_CLEAR) {
    return "";
  }
  if (target.task_commands_size() != 1) {
    return "needs exactly one command";
  }
  const proto::TaskCommand& command = target.task_commands(0);
  const auto seconds = seconds_of(command.time_from_start());
  if (!seconds) {
    return "time_from_start is negative, not finite or too long";
  }
  duration_s = *seconds;
  for (const spatial_proto::FrameTriad& triad : command.subtask_commands()) {
    FrameTarget frame{triad.header().frame_id(), triad.reference_frame_id(), {}, {}};
    if (std::string refusal = read_pose(triad, frame.position, frame.orientation); !refusal.empty()) {
      return refusal;
    }
    frames.push_back(std::move(frame));
  }
  return "";
}

}  // namespace norvik::simulator
