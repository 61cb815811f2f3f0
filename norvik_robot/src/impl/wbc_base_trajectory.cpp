// Whole trajectories, and stopping them.

#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/map_keys.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc_base.hpp"
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

ControlStatus WbcBase::execute_joint_trajectory(Trajectory trajectory, bool blocking) {
  const SteadyTime start = steady_now();
  double max_time_s = 0.0;
  if (!trajectory_is_valid(joint_manager_.get(), trajectory, max_time_s)) {
    SDK_LOG(error) << "trajectory invalid";
    return ControlStatus::INVALID_INPUT;
  }
  GroupTrajectoryMap trajectories;
  ControlStatus status = prepare_trajectory(trajectory, "execute_joint_trajectory", trajectories);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const std::vector<std::string> groups = keys_of(trajectories);
  status = request_joint_target(build_trajectory_target(trajectories), groups, max_time_s, "execute_joint_trajectory");
  if (status != ControlStatus::SUCCESS || !blocking) {
    return status;
  }
  return wait_for_trajectory(start, max_time_s + kTrajectoryExtraWaitS, groups);
}

ControlStatus WbcBase::set_joint_commands_batch(const Trajectory& trajectory) {
  double max_time_s = 0.0;
  if (!trajectory_is_valid(joint_manager_.get(), trajectory, max_time_s)) {
    SDK_LOG(error) << "set_joint_commands_batch: trajectory invalid";
    return ControlStatus::INVALID_INPUT;
  }
  GroupTrajectoryMap trajectories;
  Trajectory converted = trajectory;
  const ControlStatus status = prepare_trajectory(converted, "set_joint_commands_batch", trajectories);
  return status == ControlStatus::SUCCESS
             ? target_dispatcher_->publish_proto_target(build_trajectory_target(trajectories))
             : status;
}

// From a valid trajectory to the parts of its groups, none of which is in fatal error.
ControlStatus WbcBase::prepare_trajectory(Trajectory& trajectory, const char* operation, GroupTrajectoryMap& groups) {
  if (!has_dispatcher()) {
    return ControlStatus::INIT_FAILED;
  }
  const std::vector<std::string> names =
      resolve_joint_names(*joint_manager_, trajectory.joint_groups, trajectory.joint_names);
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
  auto trajectories =
      build_joint_group_to_trajectory_map(*joint_manager_, *controller_manager_, names, trajectory.points);
  if (!trajectories) {
    SDK_LOG(error) << operation << ": build_joint_group_to_trajectory_map failed";
    return ControlStatus::INVALID_INPUT;
  }
  groups = std::move(*trajectories);
  return check_no_fatal_error(*common_utils_, keys_of(groups));
}

WbcBase::TargetPtr WbcBase::build_trajectory_target(const GroupTrajectoryMap& groups) const {
  TargetPtr target = TargetProtoBuilder::make_target();
  for (const auto& [group, trajectory] : groups) {
    target_proto_builder_->add_target_trajectory(group, trajectory.joint_names, trajectory.points, true, *target);
  }
  return target;
}

ControlStatus WbcBase::wait_for_trajectory(SteadyTime start, double timeout_s, const std::vector<std::string>& groups) {
  const auto poll = [&]() -> std::optional<ControlStatus> {
    const auto error_info = fetch_error_info(*common_utils_);
    if (!error_info) {
      return ControlStatus::COMM_DISCONNECTED;
    }
    bool all_reached = true;
    for (const std::string& group : groups) {
      const ControlStatus reached = check_group_reached(group);
      if (reached == ControlStatus::STOPPED_UNREACHED) {
        return reached;
      }
      if (common_utils_->has_fatal_error(group, error_info)) {
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
  const auto outcome = poll_until(start, timeout_s, poll);
  if (!outcome) {
    SDK_LOG(error) << "execute_joint_trajectory timeout";
  }
  return outcome.value_or(ControlStatus::TIMEOUT);
}

std::vector<TrajectoryControlStatus> WbcBase::check_trajectory_execution_status(std::vector<std::string> joint_groups) {
  if (!is_created(joint_manager_, "joint_manager_")) {
    return std::vector<TrajectoryControlStatus>(joint_groups.size(), TrajectoryControlStatus::TRAJECTORY_FAULT);
  }
  std::vector<TrajectoryControlStatus> statuses;
  statuses.reserve(joint_groups.size());
  for (const std::string& group : joint_groups) {
    statuses.push_back(check_group_execution(group));
  }
  return statuses;
}

TrajectoryControlStatus WbcBase::check_group_execution(const std::string& group) const {
  if (!joint_manager_->has_joint_group(group)) {
    SDK_LOG(error) << "has unknown joint group : " << group;
    return TrajectoryControlStatus::TRAJECTORY_FAULT;
  }
  if (common_utils_->has_fatal_error(group, fetch_error_info(*common_utils_))) {
    SDK_LOG(error) << group << " has fault";
    return TrajectoryControlStatus::TRAJECTORY_FAULT;
  }
  const auto& map = trajectory_status_map();
  const auto status =
      map.find(common_utils_->check_joint_reached(group, joint_manager_->final_position_error_of(group)));
  return status == map.end() ? TrajectoryControlStatus::TRAJECTORY_INVALID : status->second;
}

ControlStatus WbcBase::stop_trajectory_execution() {
  if (!is_created(controller_manager_, "controller_manager_")) {
    return ControlStatus::INIT_FAILED;
  }
  ErrorInfo unread;
  return stop_all_action(unread, kStopAllTimeoutS) ? ControlStatus::SUCCESS : ControlStatus::TIMEOUT;
}

bool WbcBase::stop_current_action(const std::string& group, ErrorInfo& error_info, int timeout_s) {
  return request_stop(group, error_info, timeout_s, "stop_current_action");
}

bool WbcBase::stop_all_action(ErrorInfo& error_info, int timeout_s) {
  return request_stop(kAllGroups, error_info, timeout_s, "stop_all_action");
}

bool WbcBase::request_stop(const std::string& group, ErrorInfo& error_info, int timeout_s, const char* operation) {
  if (!is_created(controller_manager_, "controller_manager_")) {
    return false;
  }
  const auto response = controller_manager_->send_stop_controller_request(group, std::chrono::seconds(timeout_s));
  if (!response) {
    SDK_LOG(error) << operation << " timeout";
    return false;
  }
  common_utils_->transform_to_error_info(response, error_info);
  SDK_LOG(info) << operation << " success";
  return true;
}

}  // namespace norvik::sdk
