#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"

namespace norvik::sdk {

// How joint commands are checked and brought into the controller's form. Nothing here has state or sends anything; a
// refusal leaves one record.

using JointInfoMap = std::unordered_map<std::string, std::vector<CommonUtils::JointInfo>>;

// Whether `count` commands fit the joints named: every name active, or every group known, active and as long in all as
// `count`. Names win over groups. Without a manager, before the initialisation, only the lengths can be looked at.
bool check_joint_command_valid(const JointManager* joint_manager, size_t count,
                               const std::vector<std::string>& joint_groups,
                               const std::vector<std::string>& joint_names);

// The joints addressed: the names as given, or else those of the groups.
std::vector<std::string> resolve_joint_names(const JointManager& joint_manager,
                                             const std::vector<std::string>& joint_groups,
                                             const std::vector<std::string>& joint_names);

// A gripper's joint takes metres in public and millimetres inside.
bool is_gripper_joint(const std::string& joint_name);

// Metres into millimetres: position, velocity and acceleration. The effort is a percentage and stays.
void convert_gripper_to_internal_unit(JointCommand& command);

// Whether a gripper's effort lies in (0, 100] percent.
bool check_gripper_effort(double effort);

// Converts the gripper joints among `commands` in place; false when one of them has a wrong effort.
bool convert_commands_to_internal_unit(const std::vector<std::string>& joint_names,
                                       std::vector<JointCommand>& commands);

// Sorts positions, or commands, by the group of their joint. The first form leaves everything but the position 0.
bool build_joint_prefix_map(const JointManager& joint_manager, const std::vector<std::string>& joint_names,
                            const std::vector<double>& positions, JointInfoMap& out);
bool build_joint_prefix_map(const JointManager& joint_manager, const std::vector<std::string>& joint_names,
                            const std::vector<JointCommand>& commands, JointInfoMap& out);

// The time, in seconds, that the farthest joint needs at the given speed. Positions are compared with the states as
// they stand, in internal units. INVALID_INPUT, or DATA_FETCH_FAILED when a joint's state is unknown.
ControlStatus calculate_move_time(const std::unordered_map<std::string, JointState>& states,
                                  const std::vector<std::string>& joint_names, const std::vector<double>& positions,
                                  double speed_rad_s, double& time_s);

}  // namespace norvik::sdk
