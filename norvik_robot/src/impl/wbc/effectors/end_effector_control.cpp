#include "impl/wbc/effectors/end_effector_control.hpp"

#include <cmath>
#include <utility>

#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "impl/wbc/joints/joint_state_module.hpp"
#include "impl/wbc/joints/sensor_module.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kMillimetresPerMetre = 1000.0;
constexpr double kMaxGripperVelocityMps = 0.2;
constexpr double kMaxGripperEffort = 100.0;
constexpr double kWidestPlausibleM = 1.0;  // wider is a slip of units
constexpr double kGripperReachThresholdMm = 5.0;
constexpr double kGripperExtraWaitS = 8.0;
constexpr std::chrono::seconds kSuctionCupTimeout{5};

}  // namespace

EndEffectorControl::EndEffectorControl(std::shared_ptr<CommonUtils> common_utils,
                                       std::shared_ptr<JointManager> joint_manager,
                                       std::shared_ptr<TargetProtoBuilder> target_proto_builder,
                                       std::shared_ptr<SensorModule> sensor_module,
                                       std::shared_ptr<JointStateModule> joint_state_module)
    : common_utils_(std::move(common_utils)),
      joint_manager_(std::move(joint_manager)),
      target_proto_builder_(std::move(target_proto_builder)),
      sensor_module_(std::move(sensor_module)),
      joint_state_module_(std::move(joint_state_module)),
      target_dispatcher_(common_utils_),
      sharpa_hand_(common_utils_),
      linker_hand_(common_utils_, target_proto_builder_, sensor_module_) {}

bool EndEffectorControl::has_end_effector(const std::string& group) const {
  const auto report = sensor_module_->get_sensor_data();
  if (!report) {
    SDK_LOG(error) << "sensor data fetch failed";
    return false;
  }
  if (report->joint_sensor_map().count(group) == 0) {
    SDK_LOG(error) << "end effector not installed: " << group;
    return false;
  }
  return true;
}

bool EndEffectorControl::has_target_client() const {
  if (common_utils_->get_wbcs_target_client()) {
    return true;
  }
  SDK_LOG(error) << "ERROR: common_utils_->get_wbcs_target_client() is nullptr, please init.";
  return false;
}

// The checks between the arguments and the sending of a command.
ControlStatus EndEffectorControl::check_ready(const std::string& group, const char* fault_text) const {
  if (!has_end_effector(group)) {
    return ControlStatus::DATA_FETCH_FAILED;
  }
  return has_target_client() ? check_no_fatal_error(*common_utils_, group, fault_text) : ControlStatus::INIT_FAILED;
}

std::shared_ptr<GripperState> EndEffectorControl::get_gripper_state(const std::string& group) const {
  if (!joint_manager_->is_gripper_group(group)) {
    SDK_LOG(error) << "gripper invalid ,input " << group;
    return nullptr;
  }
  if (!has_end_effector(group)) {
    return nullptr;
  }
  JointStateMessage message;
  if (sensor_module_->get_joint_state_from_sensor(group, message) != ControlStatus::SUCCESS ||
      message.joint_states.empty()) {
    SDK_LOG(error) << "get gripper info fail";
    return nullptr;
  }
  const JointState& joint = message.joint_states.front();
  auto state = std::make_shared<GripperState>();
  state->timestamp_ns = message.timestamp_ns;
  state->width = joint.position / kMillimetresPerMetre;
  state->velocity = joint.velocity / kMillimetresPerMetre;
  state->effort = joint.effort;
  if (!joint_state_module_->is_gripper_moving(group, state->is_moving)) {
    SDK_LOG(info) << "History not stable yet, fall back to original reached-based logic.";
    state->is_moving =
        common_utils_->check_joint_reached(group, kGripperReachThresholdMm) == ControlStatus::IN_PROGRESS;
  }
  return state;
}

ControlStatus EndEffectorControl::set_gripper_command(const std::string& group, double width_m, double velocity_mps,
                                                      double effort, bool blocking) {
  if (!is_gripper_command_valid(group, width_m, velocity_mps, effort)) {
    return ControlStatus::INVALID_INPUT;
  }
  if (const auto status = check_ready(group, "set_gripper_command fault"); status != ControlStatus::SUCCESS) {
    return status;
  }
  JointCommand command;
  command.position = width_m * kMillimetresPerMetre;
  command.velocity = velocity_mps * kMillimetresPerMetre;
  command.effort = effort;
  double time_s = 0.0;
  if (!compute_gripper_move_time(group, command, time_s)) {
    return ControlStatus::DATA_FETCH_FAILED;
  }
  if (blocking) {
    return move_gripper_and_wait(group, command, time_s);
  }
  const ControlStatus status = request_gripper(group, command, time_s);
  if (status == ControlStatus::SUCCESS) {
    SDK_LOG(info) << "set_gripper_command success";
  }
  return status;
}

ControlStatus EndEffectorControl::move_gripper_and_wait(const std::string& group, const JointCommand& command,
                                                        double time_s) {
  MotionsUnderWay::Motion motion(common_utils_->motions_under_way(), {group});
  const ControlStatus status = request_gripper(group, command, time_s);
  motion.commanded(status);
  return status == ControlStatus::SUCCESS ? wait_for_gripper(motion, group, time_s + kGripperExtraWaitS) : status;
}

bool EndEffectorControl::is_gripper_command_valid(const std::string& group, double width_m, double velocity_mps,
                                                  double effort) const {
  if (!joint_manager_->is_gripper_group(group)) {
    SDK_LOG(error) << "gripper invalid ,input " << group;
    return false;
  }
  const bool velocity_valid = velocity_mps > 0.0 && velocity_mps <= kMaxGripperVelocityMps;
  const bool effort_valid = effort > 0.0 && effort <= kMaxGripperEffort;
  const bool width_valid = std::isfinite(width_m) && width_m >= 0.0;
  if (!width_valid || !velocity_valid || !effort_valid) {
    SDK_LOG(error) << "Invalid input: width_m=" << width_m << ", velocity_mps=" << velocity_mps
                   << ", effort=" << effort;
    return false;
  }
  if (width_m > kWidestPlausibleM) {
    SDK_LOG(warning) << "set_gripper_command: width_m=" << width_m << " is in metres, no gripper opens that wide; "
                     << width_m / kMillimetresPerMetre << " if millimetres were meant";
  }
  return true;
}

// The time from the present width to the wanted one; the command is in millimetres.
bool EndEffectorControl::compute_gripper_move_time(const std::string& group, const JointCommand& command,
                                                   double& time_s) const {
  JointStateMessage message;
  if (sensor_module_->get_joint_state_from_sensor(group, message) != ControlStatus::SUCCESS ||
      message.joint_states.empty()) {
    SDK_LOG(error) << "get gripper info fail";
    return false;
  }
  const double diff_mm = std::abs(message.joint_states.front().position - command.position);
  time_s = diff_mm / command.velocity;
  SDK_LOG(info) << "gripper pos diff is " << diff_mm << " ,velocity is " << command.velocity / kMillimetresPerMetre
                << " ,time_from_start is " << time_s;
  return true;
}

// The controller moves a gripper at the command's own velocity: `time_s` does not reach the wire, it only bounds the
// request.
ControlStatus EndEffectorControl::request_gripper(const std::string& group, const JointCommand& command,
                                                  double time_s) {
  const auto target = target_proto_builder_->generate_target_point(group, 1, {command}, time_s, true);
  const auto [status, response] = target_dispatcher_.request_proto_target(target, ceil_to_seconds(time_s));
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  if (common_utils_->has_fatal_error(group, response)) {
    SDK_LOG(error) << "set_gripper_command fault";
    return ControlStatus::FAULT;
  }
  return ControlStatus::SUCCESS;
}

ControlStatus EndEffectorControl::wait_for_gripper(MotionsUnderWay::Motion& motion, const std::string& group,
                                                   double timeout_s) const {
  const auto poll = [&]() -> std::optional<ControlStatus> {
    const ControlStatus reached = common_utils_->check_joint_reached(group, kGripperReachThresholdMm);
    if (reached == ControlStatus::SUCCESS) {
      SDK_LOG(info) << "set_gripper_command done";
    }
    if (reached != ControlStatus::IN_PROGRESS) {
      return reached;
    }
    const ControlStatus health = check_no_fatal_error(*common_utils_, group, "set_gripper_command fault");
    return health == ControlStatus::SUCCESS ? std::nullopt : std::make_optional(health);
  };
  return wait_for_motion(motion, {"set_gripper_command", steady_now(), timeout_s}, poll);
}

ControlStatus EndEffectorControl::set_suction_cup_command(const std::string& group, bool activate,
                                                          ErrorInfo& error_info) {
  if (!joint_manager_->is_suction_cup_group(group)) {
    SDK_LOG(error) << "suction_cup invalid ,input " << group;
    return ControlStatus::INVALID_INPUT;
  }
  if (const auto status = check_ready(group, "set_suction_cup_command fault"); status != ControlStatus::SUCCESS) {
    return status;
  }
  JointCommand command;
  command.position = activate ? 1.0 : 0.0;
  const auto target = target_proto_builder_->generate_target_point(group, 1, {command}, 0.0, true);
  // Only a fault that the controller reports fails the command; a missing answer has its record and is let pass.
  const auto response = target_dispatcher_.request_proto_target(target, kSuctionCupTimeout).error;
  if (common_utils_->has_fatal_error(group, response)) {
    common_utils_->transform_to_error_info(response, error_info);
    SDK_LOG(error) << "set_suction_cup_command fault";
    return ControlStatus::FAULT;
  }
  SDK_LOG(info) << "set_suction_cup_command success";
  return ControlStatus::SUCCESS;
}

std::shared_ptr<SuctionCupState> EndEffectorControl::get_suction_cup_state(const std::string& group) const {
  if (!joint_manager_->is_suction_cup_group(group)) {
    SDK_LOG(error) << "suction_cup invalid ,input " << group;
    return nullptr;
  }
  JointStateMessage message;
  if (!has_end_effector(group) ||
      sensor_module_->get_joint_state_from_sensor(group, message) != ControlStatus::SUCCESS) {
    return nullptr;
  }
  const auto wbc_info = common_utils_->wbc_info_buffer().get_data();
  if (!wbc_info) {
    SDK_LOG(error) << "wbc_info data fetch failed";
    return nullptr;
  }
  const auto value = wbc_info->other_info_map().find(group + "_state");
  if (value == wbc_info->other_info_map().end()) {
    SDK_LOG(error) << "other_info_map data fetch failed";
    return nullptr;
  }
  auto state = std::make_shared<SuctionCupState>();
  state->action_state = static_cast<int32_t>(value->second.int_value());
  SDK_LOG(info) << "suction_action_state is " << state->action_state;
  if (message.joint_states.empty()) {
    SDK_LOG(error) << "joint_state_vec is empty";
    return nullptr;
  }
  state->timestamp_ns = message.timestamp_ns;
  state->activated = state->action_state == 1 || state->action_state == 2;
  state->pressure = message.joint_states.front().position;
  return state;
}

}  // namespace norvik::sdk
