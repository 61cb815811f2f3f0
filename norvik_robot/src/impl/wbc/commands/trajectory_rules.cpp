#include "impl/wbc/commands/trajectory_rules.hpp"

#include <algorithm>

#include "impl/wbc/commands/joint_command_rules.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kDefaultGripperEffort = 5.0;

// Which of the joints, by index, make up one group of the result.
struct GroupColumns {
  GroupTrajectory* trajectory;
  std::vector<size_t> columns;
};

bool find_group(const JointManager& joint_manager, const ControllerManager& controller_manager,
                const std::string& joint_name, std::string& group) {
  const auto found = joint_manager.group_name_of(joint_name);
  if (!found) {
    SDK_LOG(error) << "Unknown joint group for joint name: " << joint_name;
    return false;
  }
  if (!controller_manager.has_controller_group(*found)) {
    SDK_LOG(error) << "Invalid joint group: " << *found;
    return false;
  }
  group = *found;
  return true;
}

bool have_length(const std::vector<TrajectoryPoint>& points, size_t length) {
  for (const TrajectoryPoint& point : points) {
    if (point.joint_command_vec.size() != length) {
      SDK_LOG(error) << "TrajectoryPoint.joint_command_vec size mismatch: " << point.joint_command_vec.size()
                     << " != " << length;
      return false;
    }
  }
  return true;
}

void copy_columns(const std::vector<TrajectoryPoint>& points, const GroupColumns& group) {
  group.trajectory->points.resize(points.size());
  for (size_t row = 0; row < points.size(); ++row) {
    TrajectoryPoint& point = group.trajectory->points[row];
    point.time_from_start = points[row].time_from_start;
    point.joint_command_vec.reserve(group.columns.size());
    for (const size_t column : group.columns) {
      point.joint_command_vec.push_back(points[row].joint_command_vec[column]);
    }
  }
}

}  // namespace

bool trajectory_is_valid(const JointManager* joint_manager, const Trajectory& trajectory, double& max_time_s) {
  if (trajectory.points.empty()) {
    SDK_LOG(error) << "trajectory invalid, trajectory.points is empty";
    return false;
  }
  const size_t count = trajectory.points.front().joint_command_vec.size();
  for (const TrajectoryPoint& point : trajectory.points) {
    max_time_s = std::max(max_time_s, point.time_from_start);
    if (point.joint_command_vec.size() != count) {
      SDK_LOG(error) << "The number of joint commands in the trajectory is inconsistent";
      return false;
    }
  }
  return check_joint_command_valid(joint_manager, count, trajectory.joint_groups, trajectory.joint_names);
}

bool convert_trajectory_points_to_internal_unit(Trajectory& trajectory, const std::vector<std::string>& joint_names) {
  if (joint_names.empty()) {
    SDK_LOG(error) << "ERROR: convert_trajectory_points_to_internal_unit: target_joint_names is empty";
    return false;
  }
  std::vector<size_t> grippers;
  for (size_t i = 0; i < joint_names.size(); ++i) {
    if (is_gripper_joint(joint_names[i])) {
      grippers.push_back(i);
    }
  }
  for (TrajectoryPoint& point : trajectory.points) {
    for (const size_t index : grippers) {
      if (index >= point.joint_command_vec.size()) {
        break;  // A point of another length is refused where the points are split by group.
      }
      JointCommand& command = point.joint_command_vec[index];
      if (command.effort == 0.0) {
        command.effort = kDefaultGripperEffort;
      } else if (!check_gripper_effort(command.effort)) {
        return false;
      }
      convert_gripper_to_internal_unit(command);
    }
  }
  return true;
}

std::optional<GroupTrajectoryMap> build_joint_group_to_trajectory_map(const JointManager& joint_manager,
                                                                      const ControllerManager& controller_manager,
                                                                      const std::vector<std::string>& joint_names,
                                                                      const std::vector<TrajectoryPoint>& points) {
  if (joint_names.empty()) {
    SDK_LOG(error) << "joint_names is empty.";
    return std::nullopt;
  }
  if (!have_length(points, joint_names.size())) {
    return std::nullopt;
  }
  GroupTrajectoryMap trajectories;
  std::unordered_map<std::string, GroupColumns> columns_by_group;
  for (size_t i = 0; i < joint_names.size(); ++i) {
    std::string group;
    if (!find_group(joint_manager, controller_manager, joint_names[i], group)) {
      return std::nullopt;
    }
    GroupTrajectory& trajectory = trajectories[group];
    trajectory.joint_names.push_back(joint_names[i]);
    GroupColumns& columns = columns_by_group[group];
    columns.trajectory = &trajectory;
    columns.columns.push_back(i);
  }
  for (const auto& [group, columns] : columns_by_group) {
    copy_columns(points, columns);
  }
  return trajectories;
}

}  // namespace norvik::sdk
