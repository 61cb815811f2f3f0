#pragma once

#include <functional>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/wbc_modules.hpp"
#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

// Chooses between the makes of dexterous hands: two have a way of their own, the others are joints of the robot. Safe
// from any thread.
class DexhandControl {
 public:
  // The robot's own operation for joint commands to one group.
  using SetJointCommands =
      std::function<ControlStatus(const std::vector<JointCommand>& joint_commands, const std::string& group)>;

  DexhandControl(const WbcModulesSlot& modules, SetJointCommands set_joint_commands);

  ControlStatus get_dexhand_state(const std::string& dexhand, DexhandState& state, DexHandType type) const;
  ControlStatus set_dexhand_command(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                    DexHandType type, bool blocking) const;

 private:
  bool is_command_valid(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                        DexHandType type) const;
  ControlStatus command_joints(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                               SteadyTime start) const;

  const WbcModulesSlot& modules_;
  const SetJointCommands set_joint_commands_;
};

}  // namespace norvik::sdk
