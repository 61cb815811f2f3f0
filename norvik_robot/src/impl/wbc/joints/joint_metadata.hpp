#pragma once

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "impl/wbc/joints/sensor_module.hpp"

namespace norvik::sdk {

// Which groups and joints the running robot actually reports. Safe from any thread.
class JointMetadata {
 public:
  JointMetadata(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager,
                std::shared_ptr<SensorModule> sensor_module);

  // Groups of the latest sensor report, in no particular order.
  std::vector<std::string> get_joint_group_names() const;

  // Joints of the latest state report that belong to `joint_groups` (none stands for all), in the controller's order.
  std::vector<std::string> get_joint_names(bool only_active, const std::vector<std::string>& joint_groups) const;

  // Joints of `joint_groups` (none stands for all) in the model's table.
  std::unordered_set<std::string> get_supported_joint_names(const std::vector<std::string>& joint_groups) const;

 private:
  std::shared_ptr<CommonUtils> common_utils_;
  std::shared_ptr<JointManager> joint_manager_;
  std::shared_ptr<SensorModule> sensor_module_;
};

}  // namespace norvik::sdk
