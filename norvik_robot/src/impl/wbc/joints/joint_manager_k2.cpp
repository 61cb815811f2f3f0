#include "impl/wbc/joints/joint_manager_k2.hpp"

#include "impl/wbc/joints/joint_table_rows.hpp"

namespace norvik::sdk {

std::shared_ptr<JointManager> JointManagerK2::Create() { return std::shared_ptr<JointManager>(new JointManagerK2); }

const JointManager::JointGroupTable& JointManagerK2::joint_group_metadata_table() const {
  using namespace joint_table;
  static const JointGroupTable kJointGroupMetadataTable = {
      passive("chassis", numbered_joints("chassis", 4)),
      head(),
      arm("left_arm"),
      arm("right_arm"),
      body("leg", 5, 0.03),
      gripper("left_gripper"),
      gripper("right_gripper"),
      suction_cup("left_suction_cup"),
      suction_cup("right_suction_cup"),
      dexhand("left_dexhand"),
      dexhand("right_dexhand"),
  };
  return kJointGroupMetadataTable;
}

const std::unordered_set<std::string>& JointManagerK2::active_joint_set() const {
  static const std::unordered_set<std::string> kActiveJointSet =
      build_joint_set_from_metadata(joint_group_metadata_table(), std::mem_fn(&JointGroupMetadata::is_active));
  return kActiveJointSet;
}

const std::vector<std::string>& JointManagerK2::body_joint_group_vec() const {
  static const std::vector<std::string> kBodyJointGroups =
      build_group_vec_from_metadata(joint_group_metadata_table(), std::mem_fn(&JointGroupMetadata::is_body_group));
  return kBodyJointGroups;
}

}  // namespace norvik::sdk
