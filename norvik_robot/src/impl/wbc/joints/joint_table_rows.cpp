#include "impl/wbc/joints/joint_table_rows.hpp"

#include <utility>

namespace norvik::sdk::joint_table {

namespace {

// Millimetres for grippers, device units for hands.
constexpr double kToolFinalPositionError = 5.0;

JointManager::JointGroupMetadata end_effector(const std::string& group, int joint_count, double final_position_error) {
  JointManager::JointGroupMetadata row = passive(group, numbered_joints(group, joint_count));
  row.final_position_error = final_position_error;
  row.is_active = true;
  row.is_end_effector = true;
  return row;
}

}  // namespace

std::vector<std::string> numbered_joints(const std::string& group, int count) {
  std::vector<std::string> joints;
  for (int i = 1; i <= count; ++i) {
    joints.push_back(group + "_joint" + std::to_string(i));
  }
  return joints;
}

JointManager::JointGroupMetadata passive(const std::string& group, std::vector<std::string> joints) {
  JointManager::JointGroupMetadata row;
  row.group_name = group;
  row.joint_names = std::move(joints);
  return row;
}

JointManager::JointGroupMetadata body(const std::string& group, std::vector<std::string> joints,
                                      double final_position_error) {
  JointManager::JointGroupMetadata row = passive(group, std::move(joints));
  row.final_position_error = final_position_error;
  row.is_body_group = true;
  row.is_active = true;
  return row;
}

JointManager::JointGroupMetadata body(const std::string& group, int joint_count, double final_position_error) {
  return body(group, numbered_joints(group, joint_count), final_position_error);
}

JointManager::JointGroupMetadata head() { return body("head", 2, 0.02); }

JointManager::JointGroupMetadata arm(const std::string& group) { return body(group, 7, 0.015); }

JointManager::JointGroupMetadata gripper(const std::string& group) {
  JointManager::JointGroupMetadata row = end_effector(group, 1, kToolFinalPositionError);
  row.is_gripper = true;
  return row;
}

JointManager::JointGroupMetadata suction_cup(const std::string& group) {
  JointManager::JointGroupMetadata row = end_effector(group, 1, 0.0);
  row.is_suction_cup = true;
  return row;
}

JointManager::JointGroupMetadata dexhand(const std::string& group) {
  JointManager::JointGroupMetadata row = end_effector(group, 6, kToolFinalPositionError);
  row.is_dexhand = true;
  return row;
}

}  // namespace norvik::sdk::joint_table
