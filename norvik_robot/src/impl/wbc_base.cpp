// Every operation is answered by a module.

#include "impl/wbc_base.hpp"

#include <cmath>
#include <utility>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/commands/joint_request.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc/joints/effort_info.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kVelocityLimit = 5.0;  // m/s and rad/s, excluded
constexpr double kDefaultMoveTimeS = 1.0;
constexpr int kStopBaseTimeoutS = 5;

// What grippers and suction cups miss first before the initialisation.
constexpr const char* kTargetClient = "common_utils_->get_wbcs_target_client()";

bool is_base_velocity_valid(double vx, double vy, double wz) {
  if (!std::isfinite(vx) || !std::isfinite(vy) || !std::isfinite(wz)) {
    SDK_LOG(error) << "velocity contains NaN or Inf, got vx=" << vx << ", vy=" << vy << ", wz=" << wz;
    return false;
  }
  if (std::abs(vx) >= kVelocityLimit || std::abs(vy) >= kVelocityLimit) {
    SDK_LOG(error) << "linear_velocity out of range, expect vx,vy in (-" << kVelocityLimit << "," << kVelocityLimit
                   << "), got vx=" << vx << ", vy=" << vy;
    return false;
  }
  if (std::abs(wz) >= kVelocityLimit) {
    SDK_LOG(error) << "angular_velocity out of range, expect wz in [-" << kVelocityLimit << "," << kVelocityLimit
                   << "], got wz=" << wz;
    return false;
  }
  return true;
}

}  // namespace

// Targets.

ControlStatus WbcBase::PublishTarget(const TavrinoXTarget& target) { return target_control_.PublishTarget(target); }

std::shared_ptr<ErrorInfo> WbcBase::RequestTarget(const TavrinoXTarget& target) {
  return target_control_.RequestTarget(target);
}

ControlStatus WbcBase::set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                                const std::vector<std::string>& end_effector_frames,
                                                const std::vector<std::string>& reference_frames) {
  return cartesian_control_.set_end_effector_command(poses, end_effector_frames, reference_frames);
}

ControlStatus WbcBase::clear_end_effector_command() { return cartesian_control_.clear_end_effector_command(); }

std::unordered_map<std::string, std::vector<double>> WbcBase::get_wbc_end_effector_poses() {
  return cartesian_control_.get_wbc_end_effector_poses();
}

// Joints.

ControlStatus WbcBase::set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                          const std::vector<std::string>& joint_groups,
                                          const std::vector<std::string>& joint_names, double time_from_start_s) {
  return joint_control_.set_joint_commands(joint_commands, joint_groups, joint_names, time_from_start_s);
}

ControlStatus WbcBase::set_joint_positions(const std::vector<double>& joint_positions,
                                           const std::vector<std::string>& joint_groups,
                                           const std::vector<std::string>& joint_names, bool blocking,
                                           double speed_rad_s, double timeout_s) {
  return joint_control_.set_joint_positions(joint_positions, joint_groups, joint_names, blocking, speed_rad_s,
                                            timeout_s);
}

ControlStatus WbcBase::calculate_move_time(const std::string& group, const std::vector<JointCommand>& commands,
                                           double speed_rad_s, double& time_s) {
  return joint_control_.calculate_move_time(group, commands, speed_rad_s, time_s);
}

// Trajectories.

ControlStatus WbcBase::execute_joint_trajectory(Trajectory trajectory, bool blocking) {
  return trajectory_control_.execute_joint_trajectory(std::move(trajectory), blocking);
}

ControlStatus WbcBase::set_joint_commands_batch(const Trajectory& trajectory) {
  return trajectory_control_.set_joint_commands_batch(trajectory);
}

std::vector<TrajectoryControlStatus> WbcBase::check_trajectory_execution_status(std::vector<std::string> joint_groups) {
  return trajectory_control_.check_trajectory_execution_status(joint_groups);
}

ControlStatus WbcBase::stop_trajectory_execution() { return trajectory_control_.stop_trajectory_execution(); }

bool WbcBase::stop_current_action(const std::string& group, ErrorInfo& error_info, int timeout_s) {
  return trajectory_control_.stop_current_action(group, error_info, timeout_s);
}

bool WbcBase::stop_all_action(ErrorInfo& error_info, int timeout_s) {
  return trajectory_control_.stop_all_action(error_info, timeout_s);
}

// Zero posture.

std::pair<ControlStatus, ControlStatus> WbcBase::zero_whole_body_and_base(const Pose& pose, bool blocking, double speed,
                                                                          double timeout_s,
                                                                          std::shared_ptr<Parameter> parameter) {
  const double yaw = yaw_from_quat(pose.qx, pose.qy, pose.qz, pose.qw);
  return zero_control_.zero_whole_body_and_base(
      {{pose.x, pose.y, yaw}, "odom", "odom", blocking, speed, timeout_s, std::move(parameter)});
}

std::pair<ControlStatus, ControlStatus> WbcBase::zero_whole_body_and_base(const std::string& frame_id,
                                                                          const std::string& reference_frame_id,
                                                                          bool blocking, double speed, double timeout_s,
                                                                          std::shared_ptr<Parameter> parameter) {
  return zero_control_.zero_whole_body_and_base(
      {{0.0, 0.0, 0.0}, frame_id, reference_frame_id, blocking, speed, timeout_s, std::move(parameter)});
}

// End effectors.

ControlStatus WbcBase::set_suction_cup_command(const std::string& suction_cup, bool activate) {
  if (!is_created(modules().end_effector_control, kTargetClient)) {
    return ControlStatus::INIT_FAILED;
  }
  ErrorInfo unread;
  return modules().end_effector_control->set_suction_cup_command(suction_cup, activate, unread);
}

ControlStatus WbcBase::set_gripper_command(const std::string& gripper, double width_m, double velocity_mps,
                                           double effort, bool blocking) {
  return is_created(modules().end_effector_control, kTargetClient)
             ? modules().end_effector_control->set_gripper_command(gripper, width_m, velocity_mps, effort, blocking)
             : ControlStatus::INIT_FAILED;
}

std::shared_ptr<GripperState> WbcBase::get_gripper_state(const std::string& gripper) {
  return is_created(modules().end_effector_control, "end_effector_control_")
             ? modules().end_effector_control->get_gripper_state(gripper)
             : nullptr;
}

std::shared_ptr<SuctionCupState> WbcBase::get_suction_cup_state(const std::string& suction_cup) {
  return is_created(modules().end_effector_control, "end_effector_control_")
             ? modules().end_effector_control->get_suction_cup_state(suction_cup)
             : nullptr;
}

ControlStatus WbcBase::get_dexhand_state(const std::string& dexhand, DexhandState& state, DexHandType type) {
  return dexhand_control_.get_dexhand_state(dexhand, state, type);
}

ControlStatus WbcBase::set_dexhand_command(const std::string& dexhand, const std::vector<JointCommand>& joint_commands,
                                           DexHandType type, bool blocking) {
  return dexhand_control_.set_dexhand_command(dexhand, joint_commands, type, blocking);
}

// Base.

ControlStatus WbcBase::set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                         double duration_s) {
  if (!is_base_velocity_valid(linear[0], linear[1], angular[2])) {
    return ControlStatus::INVALID_INPUT;
  }
  return has_dispatcher(modules()) ? modules().base_control->set_base_velocity(linear, angular, duration_s)
                                   : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::set_base_pose(const Pose& pose, bool blocking, double timeout_s) {
  const double yaw = yaw_from_quat(pose.qx, pose.qy, pose.qz, pose.qw);
  return set_base_pose(pose.x, pose.y, yaw, "odom", "odom", kDefaultMoveTimeS, blocking, timeout_s);
}

ControlStatus WbcBase::set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                                     const std::string& reference_frame_id, bool blocking, double timeout_s) {
  return set_base_pose(x, y, yaw, frame_id, reference_frame_id, kDefaultMoveTimeS, blocking, timeout_s);
}

ControlStatus WbcBase::set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                                     const std::string& reference_frame_id, double time_from_start_s, bool blocking,
                                     double timeout_s) {
  if (!modules().base_control) {
    const bool valid = is_base_pose_valid(x, y, yaw, frame_id, reference_frame_id, time_from_start_s, timeout_s);
    return valid && !has_dispatcher(modules()) ? ControlStatus::INIT_FAILED : ControlStatus::INVALID_INPUT;
  }
  return modules().base_control->set_base_pose(x, y, yaw, frame_id, reference_frame_id, time_from_start_s, blocking,
                                               timeout_s);
}

ControlStatus WbcBase::stop_base() {
  ErrorInfo unread;
  return stop_base(unread, kStopBaseTimeoutS);
}

ControlStatus WbcBase::stop_base(ErrorInfo& error_info, int timeout_s) {
  return has_dispatcher(modules()) ? modules().base_control->stop_base(error_info, timeout_s)
                                   : ControlStatus::INIT_FAILED;
}

std::shared_ptr<OdomData> WbcBase::get_odom() {
  return is_created(modules().base_control, "base_control_") ? modules().base_control->get_odom() : nullptr;
}

ControlStatus WbcBase::get_base_velocity(std::unordered_map<std::string, std::array<double, 3>>& velocity) {
  return is_created(modules().base_control, "base_control_") ? modules().base_control->get_base_velocity(velocity)
                                                             : ControlStatus::INIT_FAILED;
}

// Controllers.

ControlStatus WbcBase::reload_controller(const std::string& group) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->reload_controller(group)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::switch_controller(const std::string& controller) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->switch_controller(controller, false)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::switch_controller(const std::string& group, ErrorInfo& error_info, int ctrl_id) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->switch_controller(group, error_info, ctrl_id)
             : ControlStatus::INIT_FAILED;
}

void WbcBase::forget_active_controllers() {
  if (modules().controller_manager) {
    modules().controller_manager->forget_active_controllers();
  }
}

std::string WbcBase::get_active_controller(const std::string& group) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->get_active_controller(group)
             : kNoControllerName;
}

ControlStatus WbcBase::acquire_controller(const std::string& controller) { return switch_controller(controller); }

ControlStatus WbcBase::release_controller(const std::string& group) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->release_controller(group)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::start_controller(const std::string& group) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->start_controller(group)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::stop_controller(const std::string& group) {
  return is_created(modules().controller_manager, "controller_manager_")
             ? modules().controller_manager->stop_controller(group)
             : ControlStatus::INIT_FAILED;
}

// State.

std::vector<double> WbcBase::get_joint_positions(const std::vector<std::string>& joint_groups,
                                                 const std::vector<std::string>& joint_names) {
  return is_created(modules().joint_state_module, "joint_state_module_")
             ? modules().joint_state_module->get_joint_positions(joint_groups, joint_names)
             : std::vector<double>{};
}

std::vector<std::string> WbcBase::get_joint_group_names() {
  return is_created(modules().joint_metadata, "joint_metadata_") ? modules().joint_metadata->get_joint_group_names()
                                                                 : std::vector<std::string>{};
}

std::vector<std::string> WbcBase::get_joint_names(bool only_active, const std::vector<std::string>& joint_groups) {
  return is_created(modules().joint_metadata, "joint_metadata_")
             ? modules().joint_metadata->get_joint_names(only_active, joint_groups)
             : std::vector<std::string>{};
}

std::vector<JointState> WbcBase::get_joint_states(const std::vector<std::string>& joint_groups,
                                                  const std::vector<std::string>& joint_names) {
  return is_created(modules().joint_state_module, "joint_state_module_")
             ? modules().joint_state_module->get_joint_states(joint_groups, joint_names)
             : std::vector<JointState>{};
}

std::shared_ptr<ForceData> WbcBase::get_force_sensor_data(NorvikOneTangoSensor sensor) {
  return is_created(modules().sensor_module, "sensor_module_") ? modules().sensor_module->get_force_sensor_data(sensor)
                                                               : nullptr;
}

std::shared_ptr<ImuData> WbcBase::get_imu_data_from_wbc_sensor_module(SensorType type) {
  if (!modules().sensor_module) {
    SDK_LOG(error) << "WBC sensor_module is null";
    return nullptr;
  }
  return modules().sensor_module->get_imu_data(type);
}

ControlStatus WbcBase::get_joint_state(const std::string& group, JointStateMessage& out) {
  if (!is_created(modules().joint_state_module, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  return modules().joint_state_module->get_joint_state(group, modules().common_utils->wbc_info_buffer().get_data(),
                                                       out);
}

ControlStatus WbcBase::get_whole_body_joint_state(std::unordered_map<std::string, JointStateMessage>& out) {
  if (!is_created(modules().joint_state_module, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  const auto wbc_info = modules().common_utils->wbc_info_buffer().get_data();
  return wbc_info ? modules().joint_state_module->get_whole_body_joint_state(wbc_info, out)
                  : ControlStatus::DATA_FETCH_FAILED;
}

ControlStatus WbcBase::get_joint_state_from_sensor(const std::string& group, JointStateMessage& out) {
  return is_created(modules().sensor_module, "sensor_module_")
             ? modules().sensor_module->get_joint_state_from_sensor(group, out)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::get_effort(const std::string& arm, EffortInfo& info) {
  const auto report = modules().sensor_module ? modules().sensor_module->get_sensor_data() : nullptr;
  if (!report) {
    SDK_LOG(error) << "get_effort data fetch failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  if (arm != "left_arm" && arm != "right_arm") {
    SDK_LOG(error) << "get_effort invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  const auto sensor = report->effort_sensor_map().find(arm == "left_arm" ? "left_effort" : "right_effort");
  if (sensor == report->effort_sensor_map().end()) {
    SDK_LOG(error) << "get_effort data fetch failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  info = convert_effort_to_struct(sensor->second, header_time_ns_integer(report->header()));
  SDK_LOG(info) << "get_effort success";
  return ControlStatus::SUCCESS;
}

bool WbcBase::is_ready() const {
  const auto has_server = [](const auto& client) { return client && client->GetMatchedServerCount() > 0; };
  const WbcModules& parts = modules();
  return parts.common_utils && parts.sensor_module && parts.base_control &&
         has_server(parts.common_utils->get_wbcs_target_client()) &&
         has_server(parts.common_utils->get_wbcs_controller_client()) && get_error_report() &&
         parts.common_utils->wbc_info_buffer().get_data() && parts.sensor_module->get_sensor_data() &&
         parts.base_control->has_odometry();
}

std::shared_ptr<ErrorInfo> WbcBase::get_error_report() const {
  return modules().common_utils ? modules().common_utils->error_buffer().get_data() : nullptr;
}

}  // namespace norvik::sdk
