#include "impl/wbc/joints/joint_manager_r5.hpp"

#include "impl/wbc/joints/joint_table_rows.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

bool starts_with(const std::string& text, const std::string& prefix) {
  return text.compare(0, prefix.size(), prefix) == 0;
}

JointManager::JointGroupTable make_table(std::vector<std::string> swerve_chassis_joints, std::string torso_joint) {
  using namespace joint_table;
  return {
      passive("swerve_chassis", std::move(swerve_chassis_joints)),
      body("torso", {std::move(torso_joint)}, 0.03),
      head(),
      arm("left_arm"),
      arm("right_arm"),
      gripper("left_gripper"),
      gripper("right_gripper"),
      passive("left_camera", {}),
      passive("right_camera", {}),
  };
}

}  // namespace

R5HardwareTableVersion R5HardwareTableVersionFromHardwareVersion(const std::string& hardware_version) {
  constexpr const char* kOperation = "[R5HardwareTableVersionFromHardwareVersion] ";
  if (starts_with(hardware_version, "1.")) {
    SDK_LOG(info) << kOperation << "hardware_version: " << hardware_version << ", using R5 v1 joint table";
    return R5HardwareTableVersion::v1;
  }
  if (starts_with(hardware_version, "2.")) {
    SDK_LOG(info) << kOperation << "hardware_version: " << hardware_version << ", using R5 v2 joint table";
  } else if (hardware_version.empty()) {
    SDK_LOG(warning) << kOperation << "hardware_version is empty, defaulting to R5 v2 joint table";
  } else {
    SDK_LOG(warning) << kOperation << "unknown hardware_version: " << hardware_version
                     << ", defaulting to R5 v2 joint table";
  }
  return R5HardwareTableVersion::v2;
}

const JointManager::JointGroupTable& R5JointGroupMetadataTableFor(R5HardwareTableVersion version) {
  static const JointManager::JointGroupTable kTableV1 =
      make_table({"Wheel_1_direction_joint", "Wheel_1_drive_joint", "Wheel_2_direction_joint", "Wheel_2_drive_joint",
                  "Wheel_3_direction_joint", "Wheel_3_drive_joint", "Wheel_4_direction_joint", "Wheel_4_drive_joint"},
                 "torso_base_joint");
  static const JointManager::JointGroupTable kTableV2 =
      make_table({"wheel_steering_joint1", "wheel_driving_joint1", "wheel_steering_joint2", "wheel_driving_joint2",
                  "wheel_steering_joint3", "wheel_driving_joint3", "wheel_steering_joint4", "wheel_driving_joint4"},
                 "torso_lift_joint1");
  return version == R5HardwareTableVersion::v1 ? kTableV1 : kTableV2;
}

std::shared_ptr<JointManager> JointManagerR5::Create() { return Create(std::string()); }

std::shared_ptr<JointManager> JointManagerR5::Create(const std::string& hardware_version) {
  return std::shared_ptr<JointManager>(new JointManagerR5(hardware_version));
}

JointManagerR5::JointManagerR5(const std::string& hardware_version)
    : table_(&R5JointGroupMetadataTableFor(R5HardwareTableVersionFromHardwareVersion(hardware_version))),
      active_joint_set_(build_joint_set_from_metadata(*table_, std::mem_fn(&JointGroupMetadata::is_active))),
      body_joint_group_vec_(build_group_vec_from_metadata(*table_, std::mem_fn(&JointGroupMetadata::is_body_group))) {}

const JointManager::JointGroupTable& JointManagerR5::joint_group_metadata_table() const { return *table_; }

const std::unordered_set<std::string>& JointManagerR5::active_joint_set() const { return active_joint_set_; }

const std::vector<std::string>& JointManagerR5::body_joint_group_vec() const { return body_joint_group_vec_; }

}  // namespace norvik::sdk
