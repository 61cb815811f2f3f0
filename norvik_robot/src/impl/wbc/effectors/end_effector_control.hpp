#pragma once

#include <memory>
#include <string>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/motions_under_way.hpp"
#include "impl/wbc/effectors/linker_hand.hpp"
#include "impl/wbc/effectors/sharpa_hand.hpp"
#include "impl/wbc/targets/target_dispatcher.hpp"

namespace norvik::sdk {

class CommonUtils;
class JointManager;
class JointStateModule;
class SensorModule;
class TargetProtoBuilder;

// Commands and reads what sits at the end of the arms: grippers and suction cups through the whole-body controller, and
// the two hands that need a way of their own.
//
// Public units of grippers are the metre and the metre per second; the controller speaks of millimetres. All
// operations may be called from any thread.
class EndEffectorControl {
 public:
  EndEffectorControl(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager,
                     std::shared_ptr<TargetProtoBuilder> target_proto_builder,
                     std::shared_ptr<SensorModule> sensor_module, std::shared_ptr<JointStateModule> joint_state_module);

  // Whether the robot reports the group on its sensor topic: what is mounted, not what the model can carry.
  bool has_end_effector(const std::string& group) const;

  std::shared_ptr<GripperState> get_gripper_state(const std::string& group) const;

  // `width_m` not negative, `velocity_mps` in (0, 0.2], `effort` in percent, (0, 100]. `blocking` waits for the
  // computed move time and 8 s more at most.
  ControlStatus set_gripper_command(const std::string& group, double width_m, double velocity_mps, double effort,
                                    bool blocking);

  std::shared_ptr<SuctionCupState> get_suction_cup_state(const std::string& group) const;

  // Does not wait for the cup to hold, and takes a silent controller for a willing one. `error_info` is filled on
  // FAULT.
  ControlStatus set_suction_cup_command(const std::string& group, bool activate, ErrorInfo& error_info);

  SharpaHand& sharpa_hand() { return sharpa_hand_; }
  LinkerHand& linker_hand() { return linker_hand_; }

 private:
  bool is_gripper_command_valid(const std::string& group, double width_m, double velocity_mps, double effort) const;
  bool has_target_client() const;
  ControlStatus check_ready(const std::string& group, const char* fault_text) const;
  bool compute_gripper_move_time(const std::string& group, const JointCommand& command, double& time_s) const;
  ControlStatus request_gripper(const std::string& group, const JointCommand& command, double time_s);
  ControlStatus move_gripper_and_wait(const std::string& group, const JointCommand& command, double time_s);
  ControlStatus wait_for_gripper(MotionsUnderWay::Motion& motion, const std::string& group, double timeout_s) const;

  const std::shared_ptr<CommonUtils> common_utils_;
  const std::shared_ptr<JointManager> joint_manager_;
  const std::shared_ptr<TargetProtoBuilder> target_proto_builder_;
  const std::shared_ptr<SensorModule> sensor_module_;
  const std::shared_ptr<JointStateModule> joint_state_module_;
  const TargetDispatcher target_dispatcher_;
  SharpaHand sharpa_hand_;
  LinkerHand linker_hand_;
};

}  // namespace norvik::sdk
