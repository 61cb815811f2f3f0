#include "wire/state_messages.hpp"

#include <chrono>
#include <cmath>

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

constexpr const char* kLevelSuffix = "_max_error_level";
constexpr int32_t kRefusedCode = kFatalErrorCode + 1;
constexpr int32_t kReportedRefusalCode = 0x10001;
constexpr double kGravity = 9.81;

void set_vector(core_proto::Vector3& vector, double x, double y, double z) {
  vector.set_x(x);
  vector.set_y(y);
  vector.set_z(z);
}

KDL::Frame to_frame(const PlanarPose& pose) {
  return {KDL::Rotation::RotZ(pose.yaw), KDL::Vector(pose.x, pose.y, 0.0)};
}

void set_pose(spatial_proto::Pose& pose, const KDL::Frame& frame) {
  pose.mutable_position()->set_x(frame.p.x());
  pose.mutable_position()->set_y(frame.p.y());
  pose.mutable_position()->set_z(frame.p.z());
  double x, y, z, w;
  frame.M.GetQuaternion(x, y, z, w);
  auto& orientation = *pose.mutable_orientation();
  orientation.set_x(x);
  orientation.set_y(y);
  orientation.set_z(z);
  orientation.set_w(w);
}

void set_twist(spatial_proto::Twist& message, const PlanarTwist& twist) {
  set_vector(*message.mutable_linear(), twist.vx, twist.vy, 0.0);
  set_vector(*message.mutable_angular(), 0.0, 0.0, twist.wz);
}

void add_transform(tf2_proto::TF2Message& message, const LinkTransform& link, const core_proto::Timestamp& stamp) {
  spatial_proto::TransformMsg& transform = *message.add_transforms();
  *transform.mutable_header()->mutable_timestamp() = stamp;
  transform.mutable_header()->set_frame_id(link.parent);
  transform.set_child_frame_id(link.child);
  set_vector(*transform.mutable_transform()->mutable_translation(), link.pose.p.x(), link.pose.p.y(), link.pose.p.z());
  double x, y, z, w;
  link.pose.M.GetQuaternion(x, y, z, w);
  auto& rotation = *transform.mutable_transform()->mutable_rotation();
  rotation.set_x(x);
  rotation.set_y(y);
  rotation.set_z(z);
  rotation.set_w(w);
}

void set_target_info(proto::TargetInfo& info, const MotionProgress& progress) {
  info.set_sampling_finished(progress.sampling_finished);
  info.set_sampling_index(progress.index);
  info.set_sampling_percent(progress.percent);
  info.set_target_finished(progress.target_finished);
  info.set_state_index(progress.index);
  info.set_state_percent(progress.percent);
  info.set_target_id(progress.target_id);
  info.mutable_target_ts()->set_sec(progress.target_sec);
  info.mutable_target_ts()->set_nanosec(progress.target_nanosec);
}

// Only grippers press; nothing else has weight.
void add_joint(proto::JointInfo& info, const std::string& name, const JointMotion& joint, double effort) {
  info.add_names(name);
  info.add_target_pos(joint.target_position);
  info.add_target_vel(0.0);
  info.add_target_acc(0.0);
  info.add_target_eff(0.0);
  info.add_command_pos(joint.command_position);
  info.add_command_vel(joint.command_velocity);
  info.add_command_eff(effort);
  info.add_pvt_pos(joint.command_position);
  info.add_pvt_vel(joint.command_velocity);
  info.add_pvt_eff(effort);
  info.add_pvt_cur(0.0);
  info.add_state_pos(joint.position);
  info.add_state_vel(joint.velocity);
  info.add_state_acc(joint.acceleration);
  info.add_state_eff(effort);
  info.add_state_cur(0.0);
}

void set_group_info(proto::GroupInfo& info, const GroupState& group) {
  set_target_info(*info.mutable_target_info(), group.progress);
  double final_velocity = 0.0;
  for (size_t i = 0; i < group.joints.size(); ++i) {
    const JointMotion& joint = group.joints[i];
    info.add_joint_names(group.joint_names[i]);
    info.add_error_traj_pos(joint.command_position - joint.position);
    info.add_error_traj_vel(joint.command_velocity - joint.velocity);
    info.add_error_traj_eff(0.0);
    info.add_error_final_pos(joint.target_position - joint.position);
    info.add_error_final_vel(-joint.velocity);
    info.add_error_final_eff(0.0);
    final_velocity += joint.velocity * joint.velocity;
  }
  info.set_error_final_pos_norm(group.final_error);
  info.set_error_final_vel_norm(std::sqrt(final_velocity));
}

void set_frame_triad(spatial_proto::FrameTriad& triad, const std::string& frame, const KDL::Frame& pose) {
  triad.mutable_header()->set_frame_id(frame);
  triad.set_body_frame_id(frame);
  triad.set_reference_frame_id("odom");
  set_pose(*triad.mutable_pose_msg()->mutable_pose(), pose);
}

struct PoseEntry {
  const char* key;
  const char* link;
};
constexpr PoseEntry kPoseEntries[] = {{"lee_pose", "left_arm_end_effector_link"},
                                      {"ree_pose", "right_arm_end_effector_link"},
                                      {"head_pose", "head_end_effector_link"}};

// Seven numbers, in the base's frame.
void set_end_effector_poses(proto::WBCInfo& info, const JointPositions& positions, const Kinematics& kinematics) {
  for (const PoseEntry& entry : kPoseEntries) {
    const auto pose = kinematics.link_pose(entry.link, positions);
    if (!pose) {
      continue;
    }
    double x, y, z, w;
    pose->M.GetQuaternion(x, y, z, w);
    auto& list = *(*info.mutable_other_info_map())[entry.key].mutable_list_value();
    for (const double value : {pose->p.x(), pose->p.y(), pose->p.z(), x, y, z, w}) {
      list.add_values(value);
    }
  }
}

void set_joint_sensor(sensor_proto::JointSensor& sensor, const GroupState& group) {
  for (size_t i = 0; i < group.joints.size(); ++i) {
    sensor.add_name(group.joint_names[i]);
    sensor.add_position(group.joints[i].position);
    sensor.add_velocity(group.joints[i].velocity);
    sensor.add_effort(group.effort);
    sensor.add_current(0.0);
  }
}

void add_error(proto::TavrinoXError& error, const std::string& component, int32_t code, const std::string& text) {
  proto::ErrorDetail& detail = (*error.mutable_error_map())[component];
  detail.set_error_code(code);
  detail.set_description(text);
}

void add_group_errors(proto::TavrinoXError& message, const GroupErrors& errors) {
  for (const auto& [group, error] : errors) {
    add_error(message, group + kLevelSuffix, error.code, error.description);
  }
}

}  // namespace

core_proto::Timestamp now_stamp(std::chrono::milliseconds skew) {
  const auto since_epoch = std::chrono::system_clock::now().time_since_epoch() + skew;
  const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(since_epoch).count();
  core_proto::Timestamp stamp;
  stamp.set_sec(ns / 1000000000);
  stamp.set_nanosec(static_cast<uint32_t>(ns % 1000000000));
  return stamp;
}

std::shared_ptr<proto::WBCInfo> make_wbc_info(const WorldState& state, const Kinematics& kinematics,
                                              const core_proto::Timestamp& stamp) {
  auto info = std::make_shared<proto::WBCInfo>();
  *info->mutable_header()->mutable_timestamp() = stamp;
  info->mutable_header()->set_frame_id("base_link");
  for (const GroupState& group : state.groups) {
    for (size_t i = 0; i < group.joints.size(); ++i) {
      add_joint(*info->mutable_joint_info(), group.joint_names[i], group.joints[i], group.effort);
    }
    set_group_info((*info->mutable_group_info_map())[group.name], group);
    if (group.kind == GroupKind::kSuctionCup) {
      (*info->mutable_other_info_map())[group.name + "_state"].set_int_value(static_cast<int64_t>(group.suction));
    }
    if (group.kind == GroupKind::kChassis) {
      set_target_info(*(*info->mutable_task_info_map())[group.name].mutable_target_info(), group.progress);
    }
  }
  set_target_info(*(*info->mutable_task_info_map())["wbc"].mutable_target_info(), state.wbc_progress);
  info->mutable_fusion_info()->set_confidence(1.0);
  set_frame_triad((*info->mutable_fusion_info()->mutable_state_frame_map())["base_link"], "base_link",
                  to_frame(state.base_pose));
  set_end_effector_poses(*info, state.positions(), kinematics);
  return info;
}

std::shared_ptr<proto::TavrinoXSensor> make_sensor(const WorldState& state, const core_proto::Timestamp& stamp) {
  auto sensor = std::make_shared<proto::TavrinoXSensor>();
  *sensor->mutable_header()->mutable_timestamp() = stamp;
  for (const GroupState& group : state.groups) {
    sensor_proto::JointSensor& joints = (*sensor->mutable_joint_sensor_map())[group.name];
    *joints.mutable_header()->mutable_timestamp() = stamp;
    set_joint_sensor(joints, group);
  }
  sensor_proto::ImuSensor& imu = (*sensor->mutable_imu_sensor_map())["torso_imu"];
  *imu.mutable_header()->mutable_timestamp() = stamp;
  set_vector(*imu.mutable_accel(), 0.0, 0.0, kGravity);
  set_vector(*imu.mutable_gyro(), 0.0, 0.0, state.base_twist.wz);
  set_vector(*imu.mutable_magnet(), std::cos(state.base_pose.yaw), -std::sin(state.base_pose.yaw), 0.0);
  for (const char* name : {"left_effort", "right_effort"}) {
    sensor_proto::EffortSensor& effort = (*sensor->mutable_effort_sensor_map())[name];
    *effort.mutable_header()->mutable_timestamp() = stamp;
    set_vector(*effort.mutable_force(), 0.0, 0.0, 0.0);
    set_vector(*effort.mutable_torque(), 0.0, 0.0, 0.0);
  }
  return sensor;
}

std::shared_ptr<navigation_proto::Odometry> make_odometry(const WorldState& state, const core_proto::Timestamp& stamp) {
  auto odometry = std::make_shared<navigation_proto::Odometry>();
  *odometry->mutable_header()->mutable_timestamp() = stamp;
  odometry->mutable_header()->set_frame_id("odom");
  odometry->set_child_frame_id("base_link");
  set_pose(*odometry->mutable_pose()->mutable_pose(), to_frame(state.base_pose));
  set_twist(*odometry->mutable_twist()->mutable_twist(), state.base_twist);
  return odometry;
}

std::shared_ptr<tf2_proto::TF2Message> make_moving_transforms(const WorldState& state, const Kinematics& kinematics,
                                                              const core_proto::Timestamp& stamp) {
  auto message = std::make_shared<tf2_proto::TF2Message>();
  add_transform(*message, {"map", "odom", to_frame(state.map_from_odom)}, stamp);
  add_transform(*message, {"odom", kinematics.root_link(), to_frame(state.base_pose)}, stamp);
  for (const LinkTransform& link : kinematics.moving_transforms(state.positions())) {
    add_transform(*message, link, stamp);
  }
  return message;
}

std::shared_ptr<tf2_proto::TF2Message> make_fixed_transforms(const Kinematics& kinematics,
                                                             const core_proto::Timestamp& stamp) {
  auto message = std::make_shared<tf2_proto::TF2Message>();
  for (const LinkTransform& link : kinematics.fixed_transforms()) {
    add_transform(*message, link, stamp);
  }
  return message;
}

proto::TavrinoXError make_error_reply(const GroupErrors& errors, const Refusals& refusals) {
  proto::TavrinoXError error;
  *error.mutable_header()->mutable_timestamp() = now_stamp();
  add_group_errors(error, errors);
  for (const Refusal& refusal : refusals) {
    add_error(error, refusal.group + kLevelSuffix, kRefusedCode, refusal.reason);
  }
  return error;
}

std::shared_ptr<proto::TavrinoXError> make_error_report(const WorldState& state, const core_proto::Timestamp& stamp) {
  auto error = std::make_shared<proto::TavrinoXError>();
  *error->mutable_header()->mutable_timestamp() = stamp;
  add_group_errors(*error, state.errors);
  for (const Refusal& refusal : state.refusals) {
    add_error(*error, refusal.group + "_target_refused", kReportedRefusalCode, refusal.reason);
  }
  return error;
}

}  // namespace norvik::simulator
