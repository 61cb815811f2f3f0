#include "impl/wbc/commands/zero_control.hpp"

#include <optional>
#include <utility>

#include "common_provider.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kDefaultBaseTimeS = 1.0;

// The first eleven values mean the same; planning knows more.
ControlStatus to_control_status(MotionStatus status) {
  const auto value = static_cast<int32_t>(status);
  return value > static_cast<int32_t>(ControlStatus::STATUS_NUM) ? ControlStatus::FAULT
                                                                 : static_cast<ControlStatus>(value);
}

ControlStatus zero_joints(const ZeroControl::Command& command) {
  const auto& move_zero = WholeBodyJointProvider::move_whole_body_joint_zero_func_;
  const auto& parameter = command.parameter ? command.parameter : default_param;
  return move_zero ? to_control_status(move_zero(command.blocking, command.timeout_s, command.speed, parameter))
                   : ControlStatus::INVALID_INPUT;
}

// Leg or torso and head are a joint command of this process, which looks after itself. The arms move by the planner,
// and the call waits for them whatever `blocking` says: they are stopped when a shutdown cuts it off.
ControlStatus zero_joints_stoppable(const ZeroControl::Command& command, MotionsUnderWay& motions) {
  MotionsUnderWay::Motion arms(motions, {"left_arm", "right_arm"});
  arms.commanded(ControlStatus::SUCCESS);  // Goes out some time during the call.
  const ControlStatus status = zero_joints(command);
  if (status != ControlStatus::TIMEOUT && status != ControlStatus::PUBLISH_FAIL) {
    arms.ended();
  }
  return status;
}

}  // namespace

ZeroControl::ZeroControl(const WbcModulesSlot& modules, SetBasePose set_base_pose)
    : modules_(modules), set_base_pose_(std::move(set_base_pose)) {}

// The base gets its command first and moves while the joints do.
std::pair<ControlStatus, ControlStatus> ZeroControl::zero_whole_body_and_base(const Command& command) const {
  const SteadyTime start = steady_now();
  const WbcModules& modules = modules_.get();
  const double base_time_s = command.timeout_s > 0.0 ? command.timeout_s : kDefaultBaseTimeS;
  std::optional<MotionsUnderWay::Motion> motion;
  if (command.blocking && modules.common_utils) {
    motion.emplace(modules.common_utils->motions_under_way(),
                   std::set<std::string>{modules.controller_manager->get_chassis_group_name_impl()});
  }
  ControlStatus base = set_base_pose_(command, base_time_s);
  if (motion) {
    motion->commanded(base);
  }
  const ControlStatus joints = modules.common_utils
                                   ? zero_joints_stoppable(command, modules.common_utils->motions_under_way())
                                   : zero_joints(command);
  if (base == ControlStatus::SUCCESS && motion) {
    const std::chrono::duration<double> elapsed = steady_now() - start;
    base = sleep_in_command("zero_whole_body_and_base", base_time_s - elapsed.count());
    if (base == ControlStatus::SUCCESS) {
      motion->ended();
    }
  }
  return {joints, base};
}

}  // namespace norvik::sdk
