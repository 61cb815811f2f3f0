#pragma once

#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

class CommonUtils;
class SensorModule;
class TargetProtoBuilder;

// The Linker L20 hands: commanded as a one-point trajectory of the whole-body controller, read from the hand's own
// entry of the sensor topic. All operations may be called from any thread.
class LinkerHand {
 public:
  static constexpr size_t kJointCount = 16;

  LinkerHand(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<TargetProtoBuilder> target_proto_builder,
             std::shared_ptr<SensorModule> sensor_module);

  // The joints in command order; null for a group that is no hand.
  static const std::vector<std::string>* linker_l20_joint_names(const std::string& group);

  ControlStatus build_linker_l20_joint_state(const std::string& group, JointStateMessage& message) const;
  ControlStatus get_linker_l20_dexhand_state(const std::string& group, DexhandState& state) const;

  // `blocking` waits up to 15 s until all joints stand at their commands. Nothing is stopped on a time-out.
  ControlStatus set_linker_l20_dexhand_command(const std::string& group, const std::vector<JointCommand>& commands,
                                               bool blocking);

 private:
  ControlStatus check_command(const std::string& group, const std::vector<JointCommand>& commands) const;
  ControlStatus publish_command(const std::string& group, const std::vector<JointCommand>& commands);
  ControlStatus wait_for_hand(MotionsUnderWay::Motion& motion, SteadyTime start, const std::string& group,
                              const std::vector<JointCommand>& commands) const;

  const std::shared_ptr<CommonUtils> common_utils_;
  const std::shared_ptr<TargetProtoBuilder> target_proto_builder_;
  const std::shared_ptr<SensorModule> sensor_module_;
};

}  // namespace norvik::sdk
