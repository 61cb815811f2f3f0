#include "impl/wbc/commands/dexhand_control.hpp"

#include <utility>

#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc/effectors/dexhand_arrival.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

// Inspire and BrainCo hands count as arrived within this distance, in the hand's own unit.
constexpr double kReachThreshold = 200.0;

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

DexhandControl::DexhandControl(const WbcModulesSlot& modules, SetJointCommands set_joint_commands)
    : modules_(modules), set_joint_commands_(std::move(set_joint_commands)) {}

ControlStatus DexhandControl::get_dexhand_state(const std::string& dexhand, DexhandState& state,
                                                DexHandType type) const {
  const WbcModules& modules = modules_.get();
  if (dexhand != "left_dexhand" && dexhand != "right_dexhand") {
    SDK_LOG(error) << "dexhand invalid ,input " << dexhand;
    return ControlStatus::INVALID_INPUT;
  }
  if (!is_created(modules.end_effector_control, "end_effector_control_")) {
    return ControlStatus::INIT_FAILED;
  }
  if (type == DexHandType::SHARPA) {
    return modules.end_effector_control->sharpa_hand().get_sharpa_dexhand_state(dexhand, state);
  }
  if (type == DexHandType::LINKER_L20) {
    return modules.end_effector_control->linker_hand().get_linker_l20_dexhand_state(dexhand, state);
  }
  state.effort_map.clear();
  if (modules.sensor_module->get_joint_state_from_sensor(dexhand, state.joint_state) != ControlStatus::SUCCESS ||
      state.joint_state.joint_states.empty()) {
    SDK_LOG(error) << "get dexterous hand joint state fail";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  state.timestamp_ns = state.joint_state.timestamp_ns;
  return ControlStatus::SUCCESS;
}

ControlStatus DexhandControl::set_dexhand_command(const std::string& dexhand,
                                                  const std::vector<JointCommand>& joint_commands, DexHandType type,
                                                  bool blocking) const {
  const WbcModules& modules = modules_.get();
  if (type == DexHandType::SHARPA || type == DexHandType::LINKER_L20) {
    if (!is_created(modules.end_effector_control, "end_effector_control_")) {
      return ControlStatus::INIT_FAILED;
    }
    EndEffectorControl& effectors = *modules.end_effector_control;
    return type == DexHandType::SHARPA
               ? effectors.sharpa_hand().set_sharpa_dexhand_command(dexhand, joint_commands, blocking)
               : effectors.linker_hand().set_linker_l20_dexhand_command(dexhand, joint_commands, blocking);
  }
  const SteadyTime start = steady_now();
  if (!is_command_valid(dexhand, joint_commands, type)) {
    return ControlStatus::INVALID_INPUT;
  }
  return blocking && modules.common_utils ? command_joints(dexhand, joint_commands, start)
                                          : set_joint_commands_(joint_commands, dexhand);
}

// Before the initialisation there is no table of groups to look the name up in.
bool DexhandControl::is_command_valid(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                      DexHandType type) const {
  const auto& joint_manager = modules_.get().joint_manager;
  if (joint_manager && !joint_manager->is_dexhand_group(dexhand)) {
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

// Commands the hand's joints and waits for them.
ControlStatus DexhandControl::command_joints(const std::string& dexhand,
                                             const std::vector<JointCommand>& joint_commands, SteadyTime start) const {
  CommonUtils& common_utils = *modules_.get().common_utils;
  MotionsUnderWay::Motion motion(common_utils.motions_under_way(), {dexhand});
  const ControlStatus status = set_joint_commands_(joint_commands, dexhand);
  motion.commanded(status);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const auto poll = [&]() -> std::optional<ControlStatus> {
    if (common_utils.check_joint_reached(dexhand, kReachThreshold) == ControlStatus::SUCCESS) {
      SDK_LOG(info) << "set_dexhand_command done";
      return ControlStatus::SUCCESS;
    }
    const ControlStatus health = check_no_fatal_error(common_utils, dexhand, "set_dexhand_command fault");
    return health == ControlStatus::SUCCESS ? std::nullopt : std::make_optional(health);
  };
  return wait_for_motion(motion, {"set_dexhand_command", start, kDexhandTimeoutS}, poll);
}

}  // namespace norvik::sdk
