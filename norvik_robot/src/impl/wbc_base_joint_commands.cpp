// Single-point joint commands.

#include <cmath>

#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/map_keys.hpp"
#include "impl/wbc_base.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

void set_target_type(tavrinox_proto::TavrinoXTarget& target, tavrinox_proto::TargetType type) {
  for (auto& [group, trajectory] : *target.mutable_target_group_trajectory_map()) {
    trajectory.mutable_target_config()->set_target_type(type);
  }
}

}  // namespace

ControlStatus WbcBase::set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                          const std::vector<std::string>& joint_groups,
                                          const std::vector<std::string>& joint_names, double time_from_start_s) {
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
  const TargetPtr target = build_point_target(groups, time_from_start_s);
  // A set-point replaces the one before it, whatever the group's usual type.
  set_target_type(*target, tavrinox_proto::TARGET_TYPE_OVERRIDE);
  return target_dispatcher_->publish_proto_target(target);
}

ControlStatus WbcBase::prepare_joint_commands(std::vector<JointCommand>& commands,
                                              const std::vector<std::string>& joint_groups,
                                              const std::vector<std::string>& joint_names, JointInfoMap& groups) {
  if (!check_joint_command_valid(joint_manager_.get(), commands.size(), joint_groups, joint_names)) {
    SDK_LOG(error) << "set_joint_commands invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  if (!has_dispatcher()) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names = resolve_joint_names(*joint_manager_, joint_groups, joint_names);
  if (!convert_commands_to_internal_unit(names, commands) ||
      !build_joint_prefix_map(*joint_manager_, names, commands, groups)) {
    return ControlStatus::INVALID_INPUT;
  }
  return check_no_fatal_error(*common_utils_, keys_of(groups));
}

ControlStatus WbcBase::set_joint_positions(const std::vector<double>& joint_positions,
                                           const std::vector<std::string>& joint_groups,
                                           const std::vector<std::string>& joint_names, bool blocking,
                                           double speed_rad_s, double timeout_s) {
  const SteadyTime start = steady_now();
  JointInfoMap joints;
  double move_time_s = 10.0;
  ControlStatus status =
      prepare_joint_positions(joint_positions, joint_groups, joint_names, speed_rad_s, joints, move_time_s);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const std::vector<std::string> groups = keys_of(joints);
  status = request_joint_target(build_point_target(joints, move_time_s), groups, timeout_s, "set_joint_positions");
  if (status != ControlStatus::SUCCESS || !blocking) {
    return status;
  }
  return wait_for_positions(start, timeout_s, groups);
}

ControlStatus WbcBase::prepare_joint_positions(const std::vector<double>& positions,
                                               const std::vector<std::string>& joint_groups,
                                               const std::vector<std::string>& joint_names, double speed_rad_s,
                                               JointInfoMap& groups, double& time_s) {
  if (!check_joint_command_valid(joint_manager_.get(), positions.size(), joint_groups, joint_names)) {
    SDK_LOG(error) << "set_joint_positions invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  if (!has_dispatcher()) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names = resolve_joint_names(*joint_manager_, joint_groups, joint_names);
  if (!build_joint_prefix_map(*joint_manager_, names, positions, groups)) {
    return ControlStatus::INVALID_INPUT;
  }
  if (const auto status = check_no_fatal_error(*common_utils_, keys_of(groups)); status != ControlStatus::SUCCESS) {
    return status;
  }
  return sdk::calculate_move_time(joint_state_module_->get_joint_state_map_snapshot(), names, positions, speed_rad_s,
                                  time_s);
}

WbcBase::TargetPtr WbcBase::build_point_target(const JointInfoMap& groups, double time_from_start_s) const {
  TargetPtr target = TargetProtoBuilder::make_target();
  for (const auto& [group, joints] : groups) {
    target_proto_builder_->add_target_point(group, joints, time_from_start_s, true, *target);
  }
  return target;
}

ControlStatus WbcBase::request_joint_target(const TargetPtr& target, const std::vector<std::string>& groups,
                                            double timeout_s, const char* operation) {
  const auto [status, response] = target_dispatcher_->request_proto_target(target, ceil_to_seconds(timeout_s));
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << operation << " dispatch fail";
    return status;
  }
  if (common_utils_->has_fatal_error(groups, response)) {
    SDK_LOG(error) << operation << " fault";
    return ControlStatus::FAULT;
  }
  return ControlStatus::SUCCESS;
}

ControlStatus WbcBase::check_group_reached(const std::string& group) const {
  const ControlStatus reached =
      common_utils_->check_joint_reached(group, joint_manager_->final_position_error_of(group));
  if (reached == ControlStatus::STOPPED_UNREACHED) {
    SDK_LOG(error) << group << " joint group stop but unreach";
  }
  return reached;
}

ControlStatus WbcBase::wait_for_positions(SteadyTime start, double timeout_s, const std::vector<std::string>& groups) {
  // Done as soon as every group looked at so far in this pass has arrived: the first one alone decides.
  const auto poll = [&]() -> std::optional<ControlStatus> {
    bool all_reached = true;
    for (const std::string& group : groups) {
      const ControlStatus reached = check_group_reached(group);
      if (reached == ControlStatus::STOPPED_UNREACHED) {
        return reached;
      }
      if (common_utils_->has_fatal_error(group, fetch_error_info(*common_utils_))) {
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
  const auto outcome = poll_until(start, timeout_s, poll);
  if (!outcome) {
    SDK_LOG(error) << "set_joint_positions timeout";
    stop_groups(groups, timeout_s);
  }
  return outcome.value_or(ControlStatus::TIMEOUT);
}

void WbcBase::stop_groups(const std::vector<std::string>& groups, double timeout_s) {
  for (const std::string& group : groups) {
    if (controller_manager_->send_stop_controller_request(group, ceil_to_seconds(timeout_s))) {
      SDK_LOG(info) << "stop " << group << " action success.";
    } else {
      SDK_LOG(error) << "stop " << group << " action timeout.";
    }
  }
}

}  // namespace norvik::sdk
