#include "impl/wbc/targets/target_proto_builder.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

#include <google/protobuf/arena.h>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/frame_ids.hpp"
#include "impl/wbc/targets/target_proto_parts.hpp"

namespace norvik::sdk {

namespace {

using target_proto::add_joint_command;
using target_proto::set_pose;
using target_proto::set_vector;

constexpr const char* kWholeBodyTask = "wbc";

struct ConfigValues {
  tavrinox_proto::TargetData data;
  tavrinox_proto::TargetType type;
  tavrinox_proto::TargetSampling sampling;
};

constexpr int kPriority = 1;

// Bytes: a set-point of both arms fits into the first.
constexpr size_t kFirstBlock = 8'192;
constexpr size_t kLargestBlock = 1'048'576;

constexpr ConfigValues kEndEffectorCommand = {tavrinox_proto::TARGET_DATA_DEFAULT, tavrinox_proto::TARGET_TYPE_OVERRIDE,
                                              tavrinox_proto::TARGET_SAMPLING_DIRECT_PASS};
constexpr ConfigValues kEndEffectorClear = {tavrinox_proto::TARGET_DATA_DEFAULT, tavrinox_proto::TARGET_TYPE_CLEAR,
                                            tavrinox_proto::TARGET_SAMPLING_DIRECT_PASS};
constexpr ConfigValues kChassisTwist = {tavrinox_proto::TARGET_DATA_FRAME_TWIST, tavrinox_proto::TARGET_TYPE_OVERRIDE,
                                        tavrinox_proto::TARGET_SAMPLING_DIRECT_PASS};
constexpr ConfigValues kChassisPose = {tavrinox_proto::TARGET_DATA_FRAME_POSE, tavrinox_proto::TARGET_TYPE_OVERRIDE,
                                       tavrinox_proto::TARGET_SAMPLING_LINEAR_INTERPOLATE};

constexpr ConfigValues joint_config(tavrinox_proto::TargetType type) {
  return {tavrinox_proto::TARGET_DATA_DEFAULT, type, tavrinox_proto::TARGET_SAMPLING_DEFAULT};
}

void set_config(const ConfigValues& values, tavrinox_proto::TargetConfig& config) {
  config.set_target_data(values.data);
  config.set_target_type(values.type);
  config.set_target_sampling(values.sampling);
  config.set_target_priority(kPriority);
}

tavrinox_proto::TargetGroupTrajectory& add_group(tavrinox_proto::TavrinoXTarget& target, const std::string& group,
                                                 tavrinox_proto::TargetType type) {
  tavrinox_proto::TargetGroupTrajectory& trajectory = (*target.mutable_target_group_trajectory_map())[group];
  set_config(joint_config(type), *trajectory.mutable_target_config());
  return trajectory;
}

// A task and its one group of the same name.
tavrinox_proto::TargetTaskTrajectory& add_task(tavrinox_proto::TavrinoXTarget& target, const std::string& name,
                                               const ConfigValues& config) {
  tavrinox_proto::TargetTaskTrajectory& trajectory = (*target.mutable_target_task_trajectory_map())[name];
  set_config(config, *trajectory.mutable_target_config());
  trajectory.add_group_names(name);
  return trajectory;
}

// The single command of a target point. One that overrides at once has no duration.
tavrinox_proto::GroupCommand& add_point(tavrinox_proto::TargetGroupTrajectory& trajectory, double time_from_start_s,
                                        tavrinox_proto::TargetType type) {
  tavrinox_proto::GroupCommand& command = *trajectory.add_group_commands();
  const bool at_once = type == tavrinox_proto::TARGET_TYPE_OVERRIDE;
  set_duration_truncated(at_once ? 0.0 : time_from_start_s, *command.mutable_time_from_start());
  return command;
}

spatial_proto::FrameTriad& add_frame(tavrinox_proto::TaskCommand& command, const std::string& frame_id,
                                     const std::string& body_frame_id, const std::string& reference_frame_id) {
  spatial_proto::FrameTriad& frame = *command.add_subtask_commands();
  frame.mutable_header()->set_frame_id(frame_id);
  frame.set_body_frame_id(body_frame_id);
  frame.set_reference_frame_id(reference_frame_id);
  return frame;
}

std::string make_unique_subtask_name(const char* prefix) {
  return std::string(prefix) + "_" + std::to_string(common_utils_detail::now_timestamp_ns());
}

}  // namespace

void merge_tavrinox_target(const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& destination,
                           const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& source) {
  if (destination == nullptr || source == nullptr) {
    return;
  }
  for (const auto& [group, trajectory] : source->target_group_trajectory_map()) {
    (*destination->mutable_target_group_trajectory_map())[group] = trajectory;
  }
  for (const auto& [task, trajectory] : source->target_task_trajectory_map()) {
    (*destination->mutable_target_task_trajectory_map())[task] = trajectory;
  }
}

TargetProtoBuilder::TargetProtoBuilder(std::shared_ptr<JointManager> joint_manager)
    : joint_manager_(std::move(joint_manager)) {}

TargetProtoBuilder::~TargetProtoBuilder() = default;

TargetProtoBuilder::TargetPtr TargetProtoBuilder::make_target() {
  google::protobuf::ArenaOptions options;
  options.start_block_size = kFirstBlock;
  options.max_block_size = kLargestBlock;
  const auto arena = std::make_shared<google::protobuf::Arena>(options);
  return {arena, google::protobuf::Arena::CreateMessage<tavrinox_proto::TavrinoXTarget>(arena.get())};
}

void TargetProtoBuilder::merge_tavrinox_target(const TargetPtr& destination, const TargetPtr& source) const {
  sdk::merge_tavrinox_target(destination, source);
}

tavrinox_proto::TargetType TargetProtoBuilder::point_type(const std::string& group, bool override_running) const {
  if (!override_running) {
    return tavrinox_proto::TARGET_TYPE_DEFAULT;
  }
  const bool is_end_effector = joint_manager_ != nullptr && joint_manager_->is_end_effector_group(group);
  return is_end_effector ? tavrinox_proto::TARGET_TYPE_OVERRIDE : tavrinox_proto::TARGET_TYPE_PROVERRIDE;
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_point(const std::string& group, int joint_num,
                                                                        const std::vector<JointCommand>& commands,
                                                                        double time_from_start_s,
                                                                        bool override_running) const {
  auto target = make_target();
  const tavrinox_proto::TargetType type = point_type(group, override_running);
  tavrinox_proto::TargetGroupTrajectory& trajectory = add_group(*target, group, type);
  for (int i = 1; i <= joint_num; ++i) {
    trajectory.add_joint_names(group + "_joint" + std::to_string(i));
  }
  tavrinox_proto::GroupCommand& point = add_point(trajectory, time_from_start_s, type);
  const int command_num = std::min(joint_num, static_cast<int>(commands.size()));
  for (int i = 0; i < command_num; ++i) {
    add_joint_command(commands[i], point);
  }
  return target;
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_point(
    const std::string& group, const std::vector<CommonUtils::JointInfo>& joints, double time_from_start_s,
    bool override_running) const {
  auto target = make_target();
  add_target_point(group, joints, time_from_start_s, override_running, *target);
  return target;
}

void TargetProtoBuilder::add_target_point(const std::string& group, const std::vector<CommonUtils::JointInfo>& joints,
                                          double time_from_start_s, bool override_running,
                                          tavrinox_proto::TavrinoXTarget& target) const {
  const tavrinox_proto::TargetType type = point_type(group, override_running);
  tavrinox_proto::TargetGroupTrajectory& trajectory = add_group(target, group, type);
  tavrinox_proto::GroupCommand& point = add_point(trajectory, time_from_start_s, type);
  for (const CommonUtils::JointInfo& joint : joints) {
    trajectory.add_joint_names(joint.name);
    add_joint_command(joint, point);
  }
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_trajectory(
    const std::string& group, const std::vector<std::string>& joint_names, const std::vector<TrajectoryPoint>& points,
    bool override_running) const {
  auto target = make_target();
  add_target_trajectory(group, joint_names, points, override_running, *target);
  return target;
}

void TargetProtoBuilder::add_target_trajectory(const std::string& group, const std::vector<std::string>& joint_names,
                                               const std::vector<TrajectoryPoint>& points, bool override_running,
                                               tavrinox_proto::TavrinoXTarget& target) const {
  tavrinox_proto::TargetGroupTrajectory& trajectory = add_group(
      target, group, override_running ? tavrinox_proto::TARGET_TYPE_PROVERRIDE : tavrinox_proto::TARGET_TYPE_DEFAULT);
  trajectory.mutable_joint_names()->Assign(joint_names.begin(), joint_names.end());
  trajectory.mutable_group_commands()->Reserve(static_cast<int>(points.size()));
  for (const TrajectoryPoint& point : points) {
    tavrinox_proto::GroupCommand& command = *trajectory.add_group_commands();
    set_duration_truncated(point.time_from_start, *command.mutable_time_from_start());
    command.mutable_joint_commands()->Reserve(static_cast<int>(point.joint_command_vec.size()));
    for (const JointCommand& joint_command : point.joint_command_vec) {
      add_joint_command(joint_command, command);
    }
  }
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_end_effector_command(
    const std::vector<std::vector<double>>& poses, const std::vector<std::string>& end_effector_frames,
    const std::vector<std::string>& reference_frames) const {
  auto target = make_target();
  tavrinox_proto::TargetTaskTrajectory& task = add_task(*target, kWholeBodyTask, kEndEffectorCommand);
  tavrinox_proto::TaskCommand& command = *task.add_task_commands();
  set_duration_truncated(0.0, *command.mutable_time_from_start());
  for (std::size_t i = 0; i < poses.size(); ++i) {
    task.add_subtask_names(end_effector_frames[i] + "_task");
    spatial_proto::FrameTriad& frame = add_frame(command, end_effector_frames[i], "", reference_frames[i]);
    set_pose(poses[i].data(), *frame.mutable_pose_msg()->mutable_pose());
  }
  return target;
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_end_effector_clear() const {
  auto target = make_target();
  add_task(*target, kWholeBodyTask, kEndEffectorClear);
  return target;
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_chassis_twist(double vx, double vy, double wz) const {
  auto target = make_target();
  tavrinox_proto::TargetTaskTrajectory& task = add_task(*target, get_chassis_group_name_impl(), kChassisTwist);
  task.add_subtask_names(make_unique_subtask_name("chassis_twist"));
  tavrinox_proto::TaskCommand& command = *task.add_task_commands();
  set_duration_truncated(1.0, *command.mutable_time_from_start());

  using frame_ids::kBaseLink;
  spatial_proto::Twist& twist =
      *add_frame(command, kBaseLink, kBaseLink, kBaseLink).mutable_twist_msg()->mutable_twist();
  set_vector(vx, vy, 0.0, *twist.mutable_linear());
  set_vector(0.0, 0.0, wz, *twist.mutable_angular());
  return target;
}

TargetProtoBuilder::TargetPtr TargetProtoBuilder::generate_target_chassis_pose(double x, double y, double yaw,
                                                                               const std::string& frame_id,
                                                                               const std::string& reference_frame_id,
                                                                               double time_from_start_s) const {
  auto target = make_target();
  tavrinox_proto::TargetTaskTrajectory& task = add_task(*target, get_chassis_group_name_impl(), kChassisPose);
  task.add_subtask_names(make_unique_subtask_name("chassis_pose"));
  tavrinox_proto::TaskCommand& command = *task.add_task_commands();
  set_duration_truncated(time_from_start_s, *command.mutable_time_from_start());

  const double pose[] = {x, y, 0.0, 0.0, 0.0, std::sin(yaw / 2.0), std::cos(yaw / 2.0)};
  set_pose(pose,
           *add_frame(command, frame_id, frame_ids::kBaseLink, reference_frame_id).mutable_pose_msg()->mutable_pose());
  return target;
}

std::shared_ptr<TargetProtoBuilder> TargetProtoBuilderK2::Create(std::shared_ptr<JointManager> joint_manager) {
  return std::shared_ptr<TargetProtoBuilder>(new TargetProtoBuilderK2(std::move(joint_manager)));
}

const std::string& TargetProtoBuilderK2::get_chassis_group_name_impl() const {
  static const std::string kChassisGroupName = "chassis";
  return kChassisGroupName;
}

std::shared_ptr<TargetProtoBuilder> TargetProtoBuilderR5::Create(std::shared_ptr<JointManager> joint_manager) {
  return std::shared_ptr<TargetProtoBuilder>(new TargetProtoBuilderR5(std::move(joint_manager)));
}

const std::string& TargetProtoBuilderR5::get_chassis_group_name_impl() const {
  static const std::string kChassisGroupName = "swerve_chassis";
  return kChassisGroupName;
}

}  // namespace norvik::sdk
