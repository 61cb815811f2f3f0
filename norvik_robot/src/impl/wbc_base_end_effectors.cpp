// Grippers, suction cups, and the choice between the makes of dexterous hands.

#include <cmath>

#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc/effectors/dexhand_arrival.hpp"
#include "impl/wbc_base.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

// Inspire and BrainCo hands count as arrived within this distance, in the hand's own unit.
constexpr double kReachThreshold = 200.0;

// What grippers and suction cups miss first before the initialisation.
constexpr const char* kTargetClient = "common_utils_->get_wbcs_target_client()";

// False for what is not a number.
bool is_within(double value, double lowest, double highest) { return value >= lowest && value <= highest; }

bool check_inspire_command(size_t index, const JointCommand& command) {
  if (is_within(command.position, 0.0, 1000.0) && is_within(command.velocity, 0.0, 1000.0) &&
      is_within(command.effort, 0.0, 1000.0)) {
    return true;
  }
  SDK_LOG(error) << "inspire dexhand command out of range at index " << index
                 << ", expect position/velocity/effort in [0,1000], got position=" << command.position
                 << ", velocity=" << command.velocity << ", effort=" << command.effort;
  return false;
}

bool check_brainco_command(size_t index, const JointCommand& command) {
  if (is_within(command.position, 0.0, 100.0) && is_within(command.velocity, -100.0, 100.0)) {
    return true;
  }
  SDK_LOG(error) << "brainco dexhand command out of range at index " << index
                 << ", expect position in [0,100], velocity in [-100,100], got position=" << command.position
                 << ", velocity=" << command.velocity;
  return false;
}

// A make without limits of its own passes.
bool check_hand_command(DexHandType type, size_t index, const JointCommand& command) {
  switch (type) {
    case DexHandType::INSPIRE:
      return check_inspire_command(index, command);
    case DexHandType::BRAINCO:
      return check_brainco_command(index, command);
    default:
      return true;
  }
}

}  // namespace

ControlStatus WbcBase::set_suction_cup_command(const std::string& suction_cup, bool activate) {
  if (!is_created(end_effector_control_, kTargetClient)) {
    return ControlStatus::INIT_FAILED;
  }
  ErrorInfo unread;
  return end_effector_control_->set_suction_cup_command(suction_cup, activate, unread);
}

ControlStatus WbcBase::set_gripper_command(const std::string& gripper, double width_m, double velocity_mps,
                                           double effort, bool blocking) {
  return is_created(end_effector_control_, kTargetClient)
             ? end_effector_control_->set_gripper_command(gripper, width_m, velocity_mps, effort, blocking)
             : ControlStatus::INIT_FAILED;
}

std::shared_ptr<GripperState> WbcBase::get_gripper_state(const std::string& gripper) {
  return is_created(end_effector_control_, "end_effector_control_") ? end_effector_control_->get_gripper_state(gripper)
                                                                    : nullptr;
}

std::shared_ptr<SuctionCupState> WbcBase::get_suction_cup_state(const std::string& suction_cup) {
  return is_created(end_effector_control_, "end_effector_control_")
             ? end_effector_control_->get_suction_cup_state(suction_cup)
             : nullptr;
}

ControlStatus WbcBase::get_dexhand_state(const std::string& dexhand, DexhandState& state, DexHandType type) {
  if (dexhand != "left_dexhand" && dexhand != "right_dexhand") {
    SDK_LOG(error) << "dexhand invalid ,input " << dexhand;
    return ControlStatus::INVALID_INPUT;
  }
  if (!is_created(end_effector_control_, "end_effector_control_")) {
    return ControlStatus::INIT_FAILED;
  }
  if (type == DexHandType::SHARPA) {
    return end_effector_control_->sharpa_hand().get_sharpa_dexhand_state(dexhand, state);
  }
  if (type == DexHandType::LINKER_L20) {
    return end_effector_control_->linker_hand().get_linker_l20_dexhand_state(dexhand, state);
  }
  state.effort_map.clear();
  if (sensor_module_->get_joint_state_from_sensor(dexhand, state.joint_state) != ControlStatus::SUCCESS ||
      state.joint_state.joint_states.empty()) {
    SDK_LOG(error) << "get dexterous hand joint state fail";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  state.timestamp_ns = state.joint_state.timestamp_ns;
  return ControlStatus::SUCCESS;
}

ControlStatus WbcBase::set_dexhand_command(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                           DexHandType type, bool blocking) {
  if (type == DexHandType::SHARPA || type == DexHandType::LINKER_L20) {
    if (!is_created(end_effector_control_, "end_effector_control_")) {
      return ControlStatus::INIT_FAILED;
    }
    return type == DexHandType::SHARPA
               ? end_effector_control_->sharpa_hand().set_sharpa_dexhand_command(dexhand, joint_commands, blocking)
               : end_effector_control_->linker_hand().set_linker_l20_dexhand_command(dexhand, joint_commands, blocking);
  }
  const SteadyTime start = steady_now();
  if (!is_dexhand_command_valid(dexhand, joint_commands, type)) {
    return ControlStatus::INVALID_INPUT;
  }
  const ControlStatus status = set_joint_commands(joint_commands, {dexhand}, {}, 0.0);
  if (status != ControlStatus::SUCCESS || !blocking) {
    return status;
  }
  return wait_for_dexhand(start, dexhand);
}

// Before the initialisation there is no table of groups to look the name up in.
bool WbcBase::is_dexhand_command_valid(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                       DexHandType type) const {
  if (joint_manager_ && !joint_manager_->is_dexhand_group(dexhand)) {
    SDK_LOG(error) << "dexhand invalid ,input " << dexhand;
    return false;
  }
  if (joint_commands.empty()) {
    SDK_LOG(error) << "dexhand_command is empty";
    return false;
  }
  for (size_t i = 0; i < joint_commands.size(); ++i) {
    if (!check_hand_command(type, i, joint_commands[i])) {
      return false;
    }
  }
  return true;
}

ControlStatus WbcBase::wait_for_dexhand(SteadyTime start, const std::string& dexhand) const {
  const auto poll = [&]() -> std::optional<ControlStatus> {
    if (common_utils_->check_joint_reached(dexhand, kReachThreshold) == ControlStatus::SUCCESS) {
      SDK_LOG(info) << "set_dexhand_command done";
      return ControlStatus::SUCCESS;
    }
    const ControlStatus health = check_no_fatal_error(*common_utils_, dexhand, "set_dexhand_command fault");
    return health == ControlStatus::SUCCESS ? std::nullopt : std::make_optional(health);
  };
  const auto outcome = poll_until(start, kDexhandTimeoutS, poll);
  if (!outcome) {
    SDK_LOG(error) << "set_dexhand_command timeout";
  }
  return outcome.value_or(ControlStatus::TIMEOUT);
}

}  // namespace norvik::sdk
