#pragma once

#include <string>
#include <vector>

#include "impl/wbc/joints/joint_manager.hpp"

namespace norvik::sdk::joint_table {

// The kinds of rows that the models' tables are made of.

// "<group>_joint1" to "<group>_joint<count>".
std::vector<std::string> numbered_joints(const std::string& group, int count);

// Known by name only: its joints are never commanded through the joint interfaces.
JointManager::JointGroupMetadata passive(const std::string& group, std::vector<std::string> joints);

// `final_position_error` in radians.
JointManager::JointGroupMetadata body(const std::string& group, std::vector<std::string> joints,
                                      double final_position_error);
JointManager::JointGroupMetadata body(const std::string& group, int joint_count, double final_position_error);

JointManager::JointGroupMetadata head();
JointManager::JointGroupMetadata arm(const std::string& group);
JointManager::JointGroupMetadata gripper(const std::string& group);
JointManager::JointGroupMetadata suction_cup(const std::string& group);
JointManager::JointGroupMetadata dexhand(const std::string& group);

}  // namespace norvik::sdk::joint_table
