// Reads of the robot's state, and operations that a module answers alone.

#include "impl/wbc_base.hpp"

#include <cmath>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "impl/wbc/joints/effort_info.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kVelocityLimit = 5.0;  // m/s and rad/s, excluded
constexpr double kDefaultMoveTimeS = 1.0;
constexpr int kStopBaseTimeoutS = 5;

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

bool WbcBase::has_dispatcher() const { return is_created(target_dispatcher_, "target_dispatcher_"); }

// Base.

ControlStatus WbcBase::set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                         double duration_s) {
  if (!is_base_velocity_valid(linear[0], linear[1], angular[2])) {
    return ControlStatus::INVALID_INPUT;
  }
  return has_dispatcher() ? base_control_->set_base_velocity(linear, angular, duration_s) : ControlStatus::INIT_FAILED;
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
  if (!base_control_) {
    const bool valid = is_base_pose_valid(x, y, yaw, frame_id, reference_frame_id, time_from_start_s, timeout_s);
    return valid && !has_dispatcher() ? ControlStatus::INIT_FAILED : ControlStatus::INVALID_INPUT;
  }
  return base_control_->set_base_pose(x, y, yaw, frame_id, reference_frame_id, time_from_start_s, blocking, timeout_s);
}

ControlStatus WbcBase::stop_base() {
  ErrorInfo unread;
  return stop_base(unread, kStopBaseTimeoutS);
}

ControlStatus WbcBase::stop_base(ErrorInfo& error_info, int timeout_s) {
  return has_dispatcher() ? base_control_->stop_base(error_info, timeout_s) : ControlStatus::INIT_FAILED;
}

std::shared_ptr<OdomData> WbcBase::get_odom() {
  return is_created(base_control_, "base_control_") ? base_control_->get_odom() : nullptr;
}

ControlStatus WbcBase::get_base_velocity(std::unordered_map<std::string, std::array<double, 3>>& velocity) {
  return is_created(base_control_, "base_control_") ? base_control_->get_base_velocity(velocity)
                                                    : ControlStatus::INIT_FAILED;
}

// Controllers.

ControlStatus WbcBase::reload_controller(const std::string& group) {
  return is_created(controller_manager_, "controller_manager_") ? controller_manager_->reload_controller(group)
                                                                : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::switch_controller(const std::string& controller) {
  return is_created(controller_manager_, "controller_manager_")
             ? controller_manager_->switch_controller(controller, false)
             : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::switch_controller(const std::string& group, ErrorInfo& error_info, int ctrl_id) {
  return is_created(controller_manager_, "controller_manager_")
             ? controller_manager_->switch_controller(group, error_info, ctrl_id)
             : ControlStatus::INIT_FAILED;
}

std::string WbcBase::get_active_controller(const std::string& group) {
  return is_created(controller_manager_, "controller_manager_") ? controller_manager_->get_active_controller(group)
                                                                : kNoControllerName;
}

ControlStatus WbcBase::acquire_controller(const std::string& controller) { return switch_controller(controller); }

ControlStatus WbcBase::release_controller(const std::string& group) {
  return is_created(controller_manager_, "controller_manager_") ? controller_manager_->release_controller(group)
                                                                : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::start_controller(const std::string& group) {
  return is_created(controller_manager_, "controller_manager_") ? controller_manager_->start_controller(group)
                                                                : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::stop_controller(const std::string& group) {
  return is_created(controller_manager_, "controller_manager_") ? controller_manager_->stop_controller(group)
                                                                : ControlStatus::INIT_FAILED;
}

// State.

std::vector<double> WbcBase::get_joint_positions(const std::vector<std::string>& joint_groups,
                                                 const std::vector<std::string>& joint_names) {
  return is_created(joint_state_module_, "joint_state_module_")
             ? joint_state_module_->get_joint_positions(joint_groups, joint_names)
             : std::vector<double>{};
}

std::vector<std::string> WbcBase::get_joint_group_names() {
  return is_created(joint_metadata_, "joint_metadata_") ? joint_metadata_->get_joint_group_names()
                                                        : std::vector<std::string>{};
}

std::vector<std::string> WbcBase::get_joint_names(bool only_active, const std::vector<std::string>& joint_groups) {
  return is_created(joint_metadata_, "joint_metadata_") ? joint_metadata_->get_joint_names(only_active, joint_groups)
                                                        : std::vector<std::string>{};
}

std::vector<JointState> WbcBase::get_joint_states(const std::vector<std::string>& joint_groups,
                                                  const std::vector<std::string>& joint_names) {
  return is_created(joint_state_module_, "joint_state_module_")
             ? joint_state_module_->get_joint_states(joint_groups, joint_names)
             : std::vector<JointState>{};
}

std::shared_ptr<ForceData> WbcBase::get_force_sensor_data(NorvikOneTangoSensor sensor) {
  return is_created(sensor_module_, "sensor_module_") ? sensor_module_->get_force_sensor_data(sensor) : nullptr;
}

std::shared_ptr<ImuData> WbcBase::get_imu_data_from_wbc_sensor_module(SensorType type) {
  if (!sensor_module_) {
    SDK_LOG(error) << "WBC sensor_module is null";
    return nullptr;
  }
  return sensor_module_->get_imu_data(type);
}

ControlStatus WbcBase::get_joint_state(const std::string& group, JointStateMessage& out) {
  if (!is_created(joint_state_module_, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  return joint_state_module_->get_joint_state(group, common_utils_->wbc_info_buffer().get_data(), out);
}

ControlStatus WbcBase::get_whole_body_joint_state(std::unordered_map<std::string, JointStateMessage>& out) {
  if (!is_created(joint_state_module_, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  const auto wbc_info = common_utils_->wbc_info_buffer().get_data();
  return wbc_info ? joint_state_module_->get_whole_body_joint_state(wbc_info, out) : ControlStatus::DATA_FETCH_FAILED;
}

ControlStatus WbcBase::get_joint_state_from_sensor(const std::string& group, JointStateMessage& out) {
  return is_created(sensor_module_, "sensor_module_") ? sensor_module_->get_joint_state_from_sensor(group, out)
                                                      : ControlStatus::INIT_FAILED;
}

ControlStatus WbcBase::get_effort(const std::string& arm, EffortInfo& info) {
  const auto report = sensor_module_ ? sensor_module_->get_sensor_data() : nullptr;
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

ControlStatus WbcBase::calculate_move_time(const std::string& group, const std::vector<JointCommand>& commands,
                                           double speed_rad_s, double& time_s) {
  if (!is_created(joint_state_module_, "joint_state_module_")) {
    return ControlStatus::INIT_FAILED;
  }
  std::vector<double> positions;
  positions.reserve(commands.size());
  for (const JointCommand& command : commands) {
    positions.push_back(command.position);
  }
  const auto joint_names = joint_manager_->joint_names_of(group).value_or(std::vector<std::string>{});
  return sdk::calculate_move_time(joint_state_module_->get_joint_state_map_snapshot(), joint_names, positions,
                                  speed_rad_s, time_s);
}

}  // namespace norvik::sdk
