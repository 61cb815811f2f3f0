#include "impl/wbc/joints/joint_manager.hpp"

#include <algorithm>

#include "impl/wbc/common/frame_ids.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

}  // namespace

JointManager::~JointManager() = default;

const JointManager::JointGroupMetadata* JointManager::find_group_metadata(const std::string& group) const {
  for (const JointGroupMetadata& row : joint_group_metadata_table()) {
    if (row.group_name == group) {
      return &row;
    }
  }
  return nullptr;
}

std::vector<std::string> JointManager::joint_groups() const {
  return build_group_vec_from_metadata(joint_group_metadata_table(), [](const JointGroupMetadata&) { return true; });
}

std::optional<std::vector<std::string>> JointManager::joint_names_of(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row == nullptr ? std::nullopt : std::make_optional(row->joint_names);
}

bool JointManager::has_joint_group(const std::string& group) const { return find_group_metadata(group) != nullptr; }

bool JointManager::has_joint(const std::string& joint) const {
  // Active joints, nearly all that is asked for, are found without a walk through the table.
  return is_active_joint(joint) || find_group_of_joint(joint) != nullptr;
}

std::optional<std::string> JointManager::group_name_of(const std::string& joint) const {
  const JointGroupMetadata* row = find_group_of_joint(joint);
  return row == nullptr ? std::nullopt : std::make_optional(row->group_name);
}

const JointManager::JointGroupMetadata* JointManager::find_group_of_joint(const std::string& joint) const {
  for (const JointGroupMetadata& row : joint_group_metadata_table()) {
    if (contains(row.joint_names, joint)) {
      return &row;
    }
  }
  return nullptr;
}

bool JointManager::is_active_joint(const std::string& joint) const { return active_joint_set().count(joint) != 0; }

bool JointManager::is_active_joint_group(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row != nullptr && !row->joint_names.empty() &&
         std::all_of(row->joint_names.begin(), row->joint_names.end(),
                     [this](const std::string& joint) { return is_active_joint(joint); });
}

const std::vector<std::string>& JointManager::body_joint_groups() const { return body_joint_group_vec(); }

std::size_t JointManager::active_body_joint_num() const {
  std::size_t count = 0;
  for (const std::string& group : body_joint_groups()) {
    const JointGroupMetadata* row = find_group_metadata(group);
    if (row == nullptr) {
      SDK_LOG(error) << "[active_body_joint_num] has unknow joint group : " << group;
      continue;
    }
    for (const std::string& joint : row->joint_names) {
      count += is_active_joint(joint) ? 1 : 0;
    }
  }
  return count;
}

bool JointManager::try_get_joint_num(const std::string& group, int& joint_num) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  if (row == nullptr) {
    return false;
  }
  joint_num = static_cast<int>(row->joint_names.size());
  return true;
}

double JointManager::final_position_error_of(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  if (row == nullptr) {
    SDK_LOG(error) << "[final_position_error_of] unknown joint group : " << group;
    return 0.0;
  }
  return row->final_position_error;
}

bool JointManager::is_end_effector_group(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row != nullptr && row->is_end_effector;
}

bool JointManager::is_gripper_group(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row != nullptr && row->is_gripper;
}

bool JointManager::is_suction_cup_group(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row != nullptr && row->is_suction_cup;
}

bool JointManager::is_dexhand_group(const std::string& group) const {
  const JointGroupMetadata* row = find_group_metadata(group);
  return row != nullptr && row->is_dexhand;
}

bool JointManager::is_valid_frame_id(const std::string& frame_id) const { return frame_ids::is_valid(frame_id); }

bool JointManager::is_valid_reference_frame_id(const std::string& frame_id) const {
  return frame_ids::is_valid_reference(frame_id);
}

void JointManager::convert_group_to_joint_names(const std::vector<std::string>& groups,
                                                std::vector<std::string>& joints) const {
  joints.clear();
  append_joint_names(groups, joints, "convert_group_to_joint_names");
}

void JointManager::convert_joint_names(const std::vector<std::string>& groups, std::vector<std::string>& joints) const {
  append_joint_names(groups, joints, "convert_joint_names");
}

void JointManager::append_joint_names(const std::vector<std::string>& groups, std::vector<std::string>& joints,
                                      const char* operation) const {
  for (const std::string& group : groups) {
    const JointGroupMetadata* row = find_group_metadata(group);
    if (row == nullptr) {
      SDK_LOG(error) << "[" << operation << "] has unknow joint group : " << group;
      continue;
    }
    joints.insert(joints.end(), row->joint_names.begin(), row->joint_names.end());
  }
}

std::unordered_set<std::string> JointManager::build_joint_set_from_metadata(const JointGroupTable& table,
                                                                            const GroupPredicate& predicate) {
  std::unordered_set<std::string> joints;
  for (const JointGroupMetadata& row : table) {
    if (predicate(row)) {
      joints.insert(row.joint_names.begin(), row.joint_names.end());
    }
  }
  return joints;
}

std::vector<std::string> JointManager::build_group_vec_from_metadata(const JointGroupTable& table,
                                                                     const GroupPredicate& predicate) {
  std::vector<std::string> groups;
  groups.reserve(table.size());
  for (const JointGroupMetadata& row : table) {
    if (predicate(row)) {
      groups.push_back(row.group_name);
    }
  }
  return groups;
}

}  // namespace norvik::sdk
