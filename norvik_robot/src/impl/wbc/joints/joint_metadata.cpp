#include "impl/wbc/joints/joint_metadata.hpp"

#include <utility>

#include "sdk_log.hpp"

namespace norvik::sdk {

JointMetadata::JointMetadata(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager,
                             std::shared_ptr<SensorModule> sensor_module)
    : common_utils_(std::move(common_utils)),
      joint_manager_(std::move(joint_manager)),
      sensor_module_(std::move(sensor_module)) {}

std::vector<std::string> JointMetadata::get_joint_group_names() const {
  const auto sensor = sensor_module_->get_sensor_data();
  if (sensor == nullptr) {
    SDK_LOG(error) << "[get_joint_group_names] joint sensor fetch failed";
    return {};
  }
  std::vector<std::string> groups;
  for (const auto& [group, joint_sensor] : sensor->joint_sensor_map()) {
    if (joint_manager_->has_joint_group(group)) {
      groups.push_back(group);
    }
  }
  return groups;
}

std::vector<std::string> JointMetadata::get_joint_names(bool only_active,
                                                        const std::vector<std::string>& joint_groups) const {
  const auto info = common_utils_->wbc_info_buffer().get_data();
  if (info == nullptr) {
    SDK_LOG(error) << "get wbc_info_ptr is nullptr";
    return {};
  }
  const std::unordered_set<std::string> supported = get_supported_joint_names(joint_groups);
  std::vector<std::string> joints;
  for (const std::string& joint : info->joint_info().names()) {
    if (supported.count(joint) != 0 && (!only_active || joint_manager_->is_active_joint(joint))) {
      joints.push_back(joint);
    }
  }
  return joints;
}

std::unordered_set<std::string> JointMetadata::get_supported_joint_names(
    const std::vector<std::string>& joint_groups) const {
  if (joint_groups.empty()) {
    SDK_LOG(info) << "joint_group_vec is empty , use all joints";
  }
  std::unordered_set<std::string> supported;
  for (const std::string& group : joint_groups.empty() ? joint_manager_->joint_groups() : joint_groups) {
    const JointManager::JointGroupMetadata* row = joint_manager_->find_group_metadata(group);
    if (row == nullptr) {
      SDK_LOG(error) << "[convert_joint_names] unknown joint group: " << group;
      continue;
    }
    supported.insert(row->joint_names.begin(), row->joint_names.end());
  }
  return supported;
}

}  // namespace norvik::sdk
