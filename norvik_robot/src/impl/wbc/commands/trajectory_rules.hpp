#pragma once

#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/joints/joint_manager.hpp"

namespace norvik::sdk {

// How trajectories are checked and brought into the controller's form. Nothing here has state or sends anything; a
// refusal leaves one record.

// The part of a trajectory that falls to one group.
struct GroupTrajectory {
  std::vector<std::string> joint_names;
  std::vector<TrajectoryPoint> points;
};

using GroupTrajectoryMap = std::unordered_map<std::string, GroupTrajectory>;

// Whether there are points, all of one length that fits the joints named. Raises `max_time_s` to the largest time of a
// point; the order of the times is not looked at. For `joint_manager` see check_joint_command_valid.
bool trajectory_is_valid(const JointManager* joint_manager, const Trajectory& trajectory, double& max_time_s);

// Converts the gripper joints of every point in place. An effort of exactly 0 becomes the default of 5 percent; any
// other outside (0, 100] is refused.
bool convert_trajectory_points_to_internal_unit(Trajectory& trajectory, const std::vector<std::string>& joint_names);

// Splits the points by the groups of their joints. Nothing for a joint without group, or a group without controllers.
std::optional<GroupTrajectoryMap> build_joint_group_to_trajectory_map(const JointManager& joint_manager,
                                                                      const ControllerManager& controller_manager,
                                                                      const std::vector<std::string>& joint_names,
                                                                      const std::vector<TrajectoryPoint>& points);

}  // namespace norvik::sdk
