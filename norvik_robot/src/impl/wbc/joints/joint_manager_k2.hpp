#pragma once

#include <memory>
#include <string>
#include <unordered_set>
#include <vector>

#include "impl/wbc/joints/joint_manager.hpp"

namespace norvik::sdk {

class JointManagerK2 : public JointManager {
 public:
  static std::shared_ptr<JointManager> Create();

  const JointGroupTable& joint_group_metadata_table() const override;
  const std::unordered_set<std::string>& active_joint_set() const override;
  const std::vector<std::string>& body_joint_group_vec() const override;

 private:
  JointManagerK2() = default;
};

}  // namespace norvik::sdk
