#include "impl/wbc/commands/joint_command_rules.hpp"

#include <algorithm>
#include <cmath>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kMillimetresPerMetre = 1000.0;
constexpr double kMinGripperEffort = 0.0;  // excluded
constexpr double kMaxGripperEffort = 100.0;

bool check_joint_names(const JointManager* joint_manager, size_t count, const std::vector<std::string>& joint_names) {
  if (joint_names.size() != count) {
    SDK_LOG(error) << "invalid input, joint_names size is " << joint_names.size() << "joint_positions size is "
                   << count;
    return false;
  }
  if (joint_manager == nullptr) {
    return true;
  }
  for (const std::string& name : joint_names) {
    if (!joint_manager->is_active_joint(name)) {
      SDK_LOG(error) << "joint name is not active or invalid : " << name;
      return false;
    }
  }
  return true;
}

bool check_joint_groups(const JointManager& joint_manager, size_t count, const std::vector<std::string>& joint_groups) {
  size_t needed = 0;
  for (const std::string& group : joint_groups) {
    int joint_num = 0;
    if (!joint_manager.try_get_joint_num(group, joint_num)) {
      SDK_LOG(error) << "has unknown joint group : " << group;
      return false;
    }
    if (!joint_manager.is_active_joint_group(group)) {
      SDK_LOG(error) << "joint group is not active or unsupported : " << group;
      return false;
    }
    needed += static_cast<size_t>(joint_num);
  }
  if (needed != count) {
    SDK_LOG(error) << "need " << needed << " positions, but joint_positions size is " << count;
    return false;
  }
  return true;
}

bool append_joint(const JointManager& joint_manager, CommonUtils::JointInfo joint, JointInfoMap& out) {
  const auto* const group = joint_manager.find_group_of_joint(joint.name);
  if (group == nullptr) {
    SDK_LOG(error) << "unknown joint name: " << joint.name;
    return false;
  }
  out[group->group_name].push_back(std::move(joint));
  return true;
}

}  // namespace

bool check_joint_command_valid(const JointManager* joint_manager, size_t count,
                               const std::vector<std::string>& joint_groups,
                               const std::vector<std::string>& joint_names) {
  if (!joint_names.empty()) {
    return check_joint_names(joint_manager, count, joint_names);
  }
  if (joint_groups.empty()) {
    SDK_LOG(error) << "check_joint_command_valid: both joint_names and joint_groups are empty. "
                   << "You must explicitly specify which joints to control. "
                   << "Use joint_groups (e.g. {\"left_arm\",\"right_arm\"}) or joint_names.";
    return false;
  }
  return joint_manager == nullptr || check_joint_groups(*joint_manager, count, joint_groups);
}

std::vector<std::string> resolve_joint_names(const JointManager& joint_manager,
                                             const std::vector<std::string>& joint_groups,
                                             const std::vector<std::string>& joint_names) {
  if (!joint_names.empty()) {
    return joint_names;
  }
  std::vector<std::string> names;
  joint_manager.convert_joint_names(joint_groups, names);
  return names;
}

bool is_gripper_joint(const std::string& joint_name) { return joint_name.find("gripper") != std::string::npos; }

void convert_gripper_to_internal_unit(JointCommand& command) {
  command.position *= kMillimetresPerMetre;
  command.velocity *= kMillimetresPerMetre;
  command.acceleration *= kMillimetresPerMetre;
}

bool check_gripper_effort(double effort) {
  if (effort > kMinGripperEffort && effort <= kMaxGripperEffort) {
    return true;
  }
  SDK_LOG(error) << "effort out of range, expect effort in (" << kMinGripperEffort << "," << kMaxGripperEffort
                 << "], got effort=" << effort;
  return false;
}

bool convert_commands_to_internal_unit(const std::vector<std::string>& joint_names,
                                       std::vector<JointCommand>& commands) {
  if (joint_names.size() != commands.size()) {
    SDK_LOG(error) << "cur_joint_names size is " << joint_names.size() << " ,joint_commands size is " << commands.size()
                   << " ,can't do gripper unit conversion";
    return true;
  }
  for (size_t i = 0; i < commands.size(); ++i) {
    if (!is_gripper_joint(joint_names[i])) {
      continue;
    }
    JointCommand& command = commands[i];
    if (!check_gripper_effort(command.effort)) {
      return false;
    }
    convert_gripper_to_internal_unit(command);
    SDK_LOG(info) << "joint " << joint_names[i] << " is gripper joint, do unit conversion from m to mm."
                  << " position is " << command.position << " mm, velocity is " << command.velocity
                  << " mm/s, acceleration is " << command.acceleration << " mm/s².";
  }
  return true;
}

bool build_joint_prefix_map(const JointManager& joint_manager, const std::vector<std::string>& joint_names,
                            const std::vector<double>& positions, JointInfoMap& out) {
  if (joint_names.size() != positions.size()) {
    SDK_LOG(error) << "joiont_name_vec.size() != joint_position_vec.size(), joint_name_vec size is "
                   << joint_names.size() << " ,joint_position_vec size is " << positions.size();
    return false;
  }
  for (size_t i = 0; i < positions.size(); ++i) {
    if (!std::isfinite(positions[i])) {
      SDK_LOG(error) << "joint_position_vec[" << i << "] (" << joint_names[i] << ") is not finite: " << positions[i];
      return false;
    }
    if (!append_joint(joint_manager, {joint_names[i], positions[i]}, out)) {
      return false;
    }
  }
  return true;
}

bool build_joint_prefix_map(const JointManager& joint_manager, const std::vector<std::string>& joint_names,
                            const std::vector<JointCommand>& commands, JointInfoMap& out) {
  if (joint_names.size() != commands.size()) {
    SDK_LOG(error) << "joiont_name_vec.size() != joint_commands.size(), joint_name_vec size is " << joint_names.size()
                   << " ,joint_commands size is " << commands.size();
    return false;
  }
  for (size_t i = 0; i < commands.size(); ++i) {
    const JointCommand& command = commands[i];
    if (!append_joint(joint_manager,
                      {joint_names[i], command.position, command.velocity, command.acceleration, command.effort},
                      out)) {
      return false;
    }
  }
  return true;
}

ControlStatus calculate_move_time(const std::unordered_map<std::string, JointState>& states,
                                  const std::vector<std::string>& joint_names, const std::vector<double>& positions,
                                  double speed_rad_s, double& time_s) {
  if (!(speed_rad_s > 0.0)) {
    SDK_LOG(error) << "[calculate_move_time] max_move_speed_rad_second <= 0";
    return ControlStatus::INVALID_INPUT;
  }
  double max_diff = 0.0;
  const size_t count = std::min(joint_names.size(), positions.size());
  for (size_t i = 0; i < count; ++i) {
    const auto state = states.find(joint_names[i]);
    if (state == states.end()) {
      SDK_LOG(error) << "[calculate_move_time] joint missing in map: " << joint_names[i];
      return ControlStatus::DATA_FETCH_FAILED;
    }
    const double diff = std::abs(positions[i] - state->second.position);
    if (diff > max_diff) {
      SDK_LOG(debug) << joint_names[i] << " cur diff is " << diff << " ,max diff is " << max_diff;
      max_diff = diff;
    }
  }
  time_s = max_diff / speed_rad_s;
  SDK_LOG(info) << "max_pos_diff is " << max_diff << " ,max_move_speed_rad_second is " << speed_rad_s
                << " ,time_from_start_second is " << time_s;
  return ControlStatus::SUCCESS;
}

}  // namespace norvik::sdk
