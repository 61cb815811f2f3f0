#include "impl/wbc/commands/trajectory_control.hpp"

#include "impl/wbc/commands/joint_command_rules.hpp"
#include "impl/wbc/commands/joint_request.hpp"
#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/map_keys.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kTrajectoryExtraWaitS = 5.0;
constexpr int kStopAllTimeoutS = 3;

// What a caller hears of a group's status. Without data there is nothing that could still run.
const std::unordered_map<ControlStatus, TrajectoryControlStatus>& trajectory_status_map() {
  static const std::unordered_map<ControlStatus, TrajectoryControlStatus> kMap = {
      {ControlStatus::SUCCESS, TrajectoryControlStatus::TRAJECTORY_COMPLETED},
      {ControlStatus::FAULT, TrajectoryControlStatus::TRAJECTORY_FAULT},
      {ControlStatus::IN_PROGRESS, TrajectoryControlStatus::TRAJECTORY_RUNNING},
      {ControlStatus::STOPPED_UNREACHED, TrajectoryControlStatus::TRAJECTORY_STOPPED_UNREACHED},
      {ControlStatus::DATA_FETCH_FAILED, TrajectoryControlStatus::TRAJECTORY_COMPLETED},
      {ControlStatus::INVALID_INPUT, TrajectoryControlStatus::TRAJECTORY_INVALID},
  };
  return kMap;
}

}  // namespace

ControlStatus TrajectoryControl::execute_joint_trajectory(Trajectory trajectory, bool blocking) const {
  constexpr const char* kOperation = "execute_joint_trajectory";
  const SteadyTime start = steady_now();
  double max_time_s = 0.0;
  const WbcModules& modules = modules_.get();
  if (!trajectory_is_valid(modules.joint_manager.get(), trajectory, max_time_s)) {
    SDK_LOG(error) << "trajectory invalid";
    return ControlStatus::INVALID_INPUT;
  }
  GroupTrajectoryMap trajectories;
  ControlStatus status = prepare_trajectory(trajectory, kOperation, trajectories);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const std::vector<std::string> groups = keys_of(trajectories);
  const auto target = build_trajectory_target(trajectories);
  if (!blocking) {
    return request_joint_target(modules, target, groups, max_time_s, kOperation);
  }
  MotionsUnderWay::Motion motion(modules.common_utils->motions_under_way(), {groups.begin(), groups.end()});
  status = request_joint_target(modules, target, groups, max_time_s, kOperation);
  motion.commanded(status);
  return status == ControlStatus::SUCCESS
             ? wait_for_trajectory(motion, start, max_time_s + kTrajectoryExtraWaitS, groups)
             : status;
}

ControlStatus TrajectoryControl::set_joint_commands_batch(const Trajectory& trajectory) const {
  double max_time_s = 0.0;
  const WbcModules& modules = modules_.get();
  if (!trajectory_is_valid(modules.joint_manager.get(), trajectory, max_time_s)) {
    SDK_LOG(error) << "set_joint_commands_batch: trajectory invalid";
    return ControlStatus::INVALID_INPUT;
  }
  GroupTrajectoryMap trajectories;
  Trajectory converted = trajectory;
  const ControlStatus status = prepare_trajectory(converted, "set_joint_commands_batch", trajectories);
  return status == ControlStatus::SUCCESS
             ? modules.target_dispatcher->publish_proto_target(build_trajectory_target(trajectories))
             : status;
}

// From a valid trajectory to the parts of its groups, none of which is in fatal error.
ControlStatus TrajectoryControl::prepare_trajectory(Trajectory& trajectory, const char* operation,
                                                    GroupTrajectoryMap& groups) const {
  const WbcModules& modules = modules_.get();
  if (!has_dispatcher(modules)) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names =
      resolve_joint_names(*modules.joint_manager, trajectory.joint_groups, trajectory.joint_names);
  if (names.empty()) {
    SDK_LOG(error) << operation << ": both joint_names and joint_groups are empty. "
                   << "You must explicitly specify which joints to control. "
                   << "Use joint_groups (e.g. {\"left_arm\",\"right_arm\"}) or joint_names. "
                   << "Returning INVALID_INPUT.";
    return ControlStatus::INVALID_INPUT;
  }
  if (!convert_trajectory_points_to_internal_unit(trajectory, names)) {
    SDK_LOG(error) << "ERROR: " << operation << ": convert_trajectory_points_to_internal_unit failed";
    return ControlStatus::INVALID_INPUT;
  }
  auto trajectories = build_joint_group_to_trajectory_map(*modules.joint_manager, *modules.controller_manager, names,
                                                          trajectory.points);
  if (!trajectories) {
    SDK_LOG(error) << operation << ": build_joint_group_to_trajectory_map failed";
    return ControlStatus::INVALID_INPUT;
  }
  groups = std::move(*trajectories);
  return check_no_fatal_error(*modules.common_utils, keys_of(groups));
}

// Added part by part and not merged: a trajectory may hold 100 000 commands.
TargetProtoBuilder::TargetPtr TrajectoryControl::build_trajectory_target(const GroupTrajectoryMap& groups) const {
  auto target = TargetProtoBuilder::make_target();
  for (const auto& [group, trajectory] : groups) {
    modules_.get().target_proto_builder->add_target_trajectory(group, trajectory.joint_names, trajectory.points, true,
                                                               *target);
  }
  return target;
}

ControlStatus TrajectoryControl::wait_for_trajectory(MotionsUnderWay::Motion& motion, SteadyTime start,
                                                     double timeout_s, const std::vector<std::string>& groups) const {
  const WbcModules& modules = modules_.get();
  const auto poll = [&]() -> std::optional<ControlStatus> {
    const auto error_info = fetch_error_info(*modules.common_utils);
    if (!error_info) {
      return ControlStatus::COMM_DISCONNECTED;
    }
    bool all_reached = true;
    for (const std::string& group : groups) {
      const ControlStatus reached = check_group_reached(modules, group);
      if (reached == ControlStatus::STOPPED_UNREACHED) {
        return reached;
      }
      if (modules.common_utils->has_fatal_error(group, error_info)) {
        SDK_LOG(error) << "execute_joint_trajectory fault";
        return ControlStatus::FAULT;
      }
      all_reached = all_reached && reached == ControlStatus::SUCCESS;
    }
    if (!all_reached) {
      return std::nullopt;
    }
    SDK_LOG(info) << "execute_joint_trajectory success";
    return ControlStatus::SUCCESS;
  };
  return wait_for_motion(motion, {"execute_joint_trajectory", start, timeout_s}, poll);
}

std::vector<TrajectoryControlStatus> TrajectoryControl::check_trajectory_execution_status(
    const std::vector<std::string>& joint_groups) const {
  if (!is_created(modules_.get().joint_manager, "joint_manager_")) {
    return std::vector<TrajectoryControlStatus>(joint_groups.size(), TrajectoryControlStatus::TRAJECTORY_FAULT);
  }
  std::vector<TrajectoryControlStatus> statuses;
  statuses.reserve(joint_groups.size());
  for (const std::string& group : joint_groups) {
    statuses.push_back(check_group_execution(group));
  }
  return statuses;
}

TrajectoryControlStatus TrajectoryControl::check_group_execution(const std::string& group) const {
  const WbcModules& modules = modules_.get();
  if (!modules.joint_manager->has_joint_group(group)) {
    SDK_LOG(error) << "has unknown joint group : " << group;
    return TrajectoryControlStatus::TRAJECTORY_FAULT;
  }
  if (modules.common_utils->has_fatal_error(group, fetch_error_info(*modules.common_utils))) {
    SDK_LOG(error) << group << " has fault";
    return TrajectoryControlStatus::TRAJECTORY_FAULT;
  }
  const auto& map = trajectory_status_map();
  const auto status =
      map.find(modules.common_utils->check_joint_reached(group, modules.joint_manager->final_position_error_of(group)));
  return status == map.end() ? TrajectoryControlStatus::TRAJECTORY_INVALID : status->second;
}

ControlStatus TrajectoryControl::stop_trajectory_execution() const {
  if (!is_created(modules_.get().controller_manager, "controller_manager_")) {
    return ControlStatus::INIT_FAILED;
  }
  ErrorInfo unread;
  return stop_all_action(unread, kStopAllTimeoutS) ? ControlStatus::SUCCESS : ControlStatus::TIMEOUT;
}

bool TrajectoryControl::stop_current_action(const std::string& group, ErrorInfo& error_info, int timeout_s) const {
  return request_stop(group, error_info, timeout_s, "stop_current_action");
}

bool TrajectoryControl::stop_all_action(ErrorInfo& error_info, int timeout_s) const {
  return request_stop(kAllGroups, error_info, timeout_s, "stop_all_action");
}

bool TrajectoryControl::request_stop(const std::string& group, ErrorInfo& error_info, int timeout_s,
                                     const char* operation) const {
  const WbcModules& modules = modules_.get();
  if (!is_created(modules.controller_manager, "controller_manager_")) {
    return false;
  }
  const auto response =
      modules.controller_manager->send_stop_controller_request(group, std::chrono::seconds(timeout_s));
  if (!response) {
    SDK_LOG(error) << operation << " timeout";
    return false;
  }
  modules.common_utils->transform_to_error_info(response, error_info);
  if (group == kAllGroups) {  // The base with them.
    modules.common_utils->motions_under_way().base_velocity_ended();
  }
  SDK_LOG(info) << operation << " success";
  return true;
}

}  // namespace norvik::sdk
