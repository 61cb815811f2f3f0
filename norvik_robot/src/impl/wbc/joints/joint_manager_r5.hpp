#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "impl/wbc/joints/joint_manager.hpp"

namespace norvik::sdk {

// The revisions differ in the joint names of the swerve chassis and of the torso.
enum class R5HardwareTableVersion : int32_t { v1 = 0, v2 = 1 };

// v1 for "1.…", v2 for everything else, with a warning unless it is "2.…".
R5HardwareTableVersion R5HardwareTableVersionFromHardwareVersion(const std::string& hardware_version);

const JointManager::JointGroupTable& R5JointGroupMetadataTableFor(R5HardwareTableVersion version);

class JointManagerR5 : public JointManager {
 public:
  // Revision v2.
  static std::shared_ptr<JointManager> Create();
  // The revision that goes with the device's hardware version.
  static std::shared_ptr<JointManager> Create(const std::string& hardware_version);

  const JointGroupTable& joint_group_metadata_table() const override;
  const std::unordered_set<std::string>& active_joint_set() const override;
  const std::vector<std::string>& body_joint_group_vec() const override;

 private:
  explicit JointManagerR5(const std::string& hardware_version);

  const JointGroupTable* table_;
  std::unordered_set<std::string> active_joint_set_;
  std::vector<std::string> body_joint_group_vec_;
};

}  // namespace norvik::sdk
