#include "impl/wbc/commands/joint_control.hpp"

#include <algorithm>
#include <cmath>

#include "impl/wbc/commands/joint_request.hpp"
#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/map_keys.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc/controllers/motion_stopper.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

void set_target_type(tavrinox_proto::TavrinoXTarget& target, tavrinox_proto::TargetType type) {
  for (auto& [group, trajectory] : *target.mutable_target_group_trajectory_map()) {
    trajectory.mutable_target_config()->set_target_type(type);
  }
}

}  // namespace

ControlStatus JointControl::set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                               const std::vector<std::string>& joint_groups,
                                               const std::vector<std::string>& joint_names,
                                               double time_from_start_s) const {
  if (!std::isfinite(time_from_start_s) || time_from_start_s < 0.0) {
    SDK_LOG(error) << "set_joint_commands invalid time_from_start_s: " << time_from_start_s;
    return ControlStatus::INVALID_INPUT;
  }
  std::vector<JointCommand> commands = joint_commands;
  JointInfoMap groups;
  const ControlStatus status = prepare_joint_commands(commands, joint_groups, joint_names, groups);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const auto target = build_point_target(groups, time_from_start_s);
  // A set-point replaces the one before it, whatever the group's usual type.
  set_target_type(*target, tavrinox_proto::TARGET_TYPE_OVERRIDE);
  return modules_.get().target_dispatcher->publish_proto_target(target);
}

ControlStatus JointControl::prepare_joint_commands(std::vector<JointCommand>& commands,
                                                   const std::vector<std::string>& joint_groups,
                                                   const std::vector<std::string>& joint_names,
                                                   JointInfoMap& groups) const {
  const WbcModules& modules = modules_.get();
  if (!check_joint_command_valid(modules.joint_manager.get(), commands.size(), joint_groups, joint_names)) {
    SDK_LOG(error) << "set_joint_commands invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  if (!has_dispatcher(modules)) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names = resolve_joint_names(*modules.joint_manager, joint_groups, joint_names);
  if (!convert_commands_to_internal_unit(names, commands) ||
      !build_joint_prefix_map(*modules.joint_manager, names, commands, groups)) {
    return ControlStatus::INVALID_INPUT;
  }
  return check_no_fatal_error(*modules.common_utils, keys_of(groups));
}

ControlStatus JointControl::set_joint_positions(const std::vector<double>& joint_positions,
                                                const std::vector<std::string>& joint_groups,
                                                const std::vector<std::string>& joint_names, bool blocking,
                                                double speed_rad_s, double timeout_s) const {
  constexpr const char* kOperation = "set_joint_positions";
  const SteadyTime start = steady_now();
  JointInfoMap joints;
  double move_time_s = 10.0;
  ControlStatus status =
      prepare_joint_positions(joint_positions, joint_groups, joint_names, speed_rad_s, joints, move_time_s);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const WbcModules& modules = modules_.get();
  const std::vector<std::string> groups = keys_of(joints);
  const auto target = build_point_target(joints, move_time_s);
  if (!blocking) {
    return request_joint_target(modules, target, groups, timeout_s, kOperation);
  }
  MotionsUnderWay::Motion motion(modules.common_utils->motions_under_way(), {groups.begin(), groups.end()});
  status = request_joint_target(modules, target, groups, timeout_s, kOperation);
  motion.commanded(status);
  return status == ControlStatus::SUCCESS ? wait_for_positions(motion, start, timeout_s, groups) : status;
}

ControlStatus JointControl::prepare_joint_positions(const std::vector<double>& positions,
                                                    const std::vector<std::string>& joint_groups,
                                                    const std::vector<std::string>& joint_names, double speed_rad_s,
                                                    JointInfoMap& groups, double& time_s) const {
  const WbcModules& modules = modules_.get();
  if (!check_joint_command_valid(modules.joint_manager.get(), positions.size(), joint_groups, joint_names)) {
    SDK_LOG(error) << "set_joint_positions invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  if (!has_dispatcher(modules)) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names = resolve_joint_names(*modules.joint_manager, joint_groups, joint_names);
  if (!build_joint_prefix_map(*modules.joint_manager, names, positions, groups)) {
    return ControlStatus::INVALID_INPUT;
  }
  const ControlStatus health = check_no_fatal_error(*modules.common_utils, keys_of(groups));
  if (health != ControlStatus::SUCCESS) {
    return health;
  }
  return sdk::calculate_move_time(modules.joint_state_module->get_joint_state_map_snapshot(), names, positions,
                                  speed_rad_s, time_s);
}

TargetProtoBuilder::TargetPtr JointControl::build_point_target(const JointInfoMap& groups,
                                                               double time_from_start_s) const {
  auto target = TargetProtoBuilder::make_target();
  for (const auto& [group, joints] : groups) {
    modules_.get().target_proto_builder->add_target_point(group, joints, time_from_start_s, true, *target);
  }
  return target;
}

ControlStatus JointControl::wait_for_positions(MotionsUnderWay::Motion& motion, SteadyTime start, double timeout_s,
                                               const std::vector<std::string>& groups) const {
  const WbcModules& modules = modules_.get();
  // Done as soon as every group looked at so far in this pass has arrived: the first one alone decides.
  const auto poll = [&]() -> std::optional<ControlStatus> {
    bool all_reached = true;
    for (const std::string& group : groups) {
      const ControlStatus reached = check_group_reached(modules, group);
      if (reached == ControlStatus::STOPPED_UNREACHED) {
        return reached;
      }
      if (modules.common_utils->has_fatal_error(group, fetch_error_info(*modules.common_utils))) {
        SDK_LOG(error) << "set_joint_positions fault";
        return ControlStatus::FAULT;
      }
      all_reached = all_reached && reached == ControlStatus::SUCCESS;
      if (all_reached) {
        SDK_LOG(info) << "set_joint_positions success";
        return ControlStatus::SUCCESS;
      }
    }
    return std::nullopt;
  };
  return wait_for_motion(motion, {"set_joint_positions", start, timeout_s}, poll,
                         [&] { stop_groups(groups, timeout_s); });
}

void JointControl::stop_groups(const std::vector<std::string>& groups, double timeout_s) const {
  for (const std::string& group : groups) {
    if (is_shutting_down()) {
      return;  // The motion is stopped with all others of this process.
    }
    record_stop(group, modules_.get().controller_manager->send_stop_controller_request(
                           group, ceil_to_seconds(timeout_s)) != nullptr);
  }
}

ControlStatus JointControl::calculate_move_time(const std::string& group, const std::vector<JointCommand>& commands,
                                                double speed_rad_s, double& time_s) const {
  const WbcModules& modules = modules_.get();
  if (!is_created(modules.joint_state_module, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  std::vector<double> positions;
  positions.reserve(commands.size());
  std::transform(commands.begin(), commands.end(), std::back_inserter(positions),
                 [](const JointCommand& command) { return command.position; });
  const auto joint_names = modules.joint_manager->joint_names_of(group).value_or(std::vector<std::string>{});
  return sdk::calculate_move_time(modules.joint_state_module->get_joint_state_map_snapshot(), joint_names, positions,
                                  speed_rad_s, time_s);
}

}  // namespace norvik::sdk
