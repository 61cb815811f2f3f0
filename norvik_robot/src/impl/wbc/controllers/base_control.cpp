#include "impl/wbc/controllers/base_control.hpp"

#include <cmath>
#include <utility>

#include "impl/common/proto_time.hpp"
#include "impl/wbc/common/command_guard.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kDefaultMoveTimeS = 1.0;
constexpr int kStopTimeoutS = 5;

template <typename... Values>
bool are_finite(Values... values) {
  return (std::isfinite(values) && ...);
}

template <typename Vector>
std::array<double, 3> to_array(const Vector& vector) {
  return {vector.x(), vector.y(), vector.z()};
}

}  // namespace

BaseControl::BaseControl(std::shared_ptr<CommonUtils> common_utils,
                         std::shared_ptr<TargetProtoBuilder> target_proto_builder,
                         std::shared_ptr<TargetDispatcher> target_dispatcher,
                         std::shared_ptr<ControllerManager> controller_manager)
    : common_utils_(std::move(common_utils)),
      target_proto_builder_(std::move(target_proto_builder)),
      target_dispatcher_(std::move(target_dispatcher)),
      controller_manager_(std::move(controller_manager)) {}

ControlStatus BaseControl::set_base_velocity(const std::array<double, 3>& linear, const std::array<double, 3>& angular,
                                             double duration_s) {
  if (const ControlStatus status = prepare_twist(); status != ControlStatus::SUCCESS) {
    return status;
  }
  if (const ControlStatus status = publish_twist(linear[0], linear[1], angular[2]); status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "set_base_velocity dispatch fail.";
    return status;
  }
  if (duration_s > 0.0) {
    if (const auto status = sleep_in_command("set_base_velocity", duration_s); status != ControlStatus::SUCCESS) {
      return status;  // The base is stopped with all other motions of this process.
    }
    ErrorInfo unread;
    return stop_base(unread, kStopTimeoutS);
  }
  SDK_LOG(info) << "set_base_velocity success";
  return ControlStatus::SUCCESS;
}

ControlStatus BaseControl::publish_twist(double vx, double vy, double wz) {
  const bool stands = vx != 0.0 || vy != 0.0 || wz != 0.0;
  MotionsUnderWay::BaseVelocity velocity(common_utils_->motions_under_way(), stands);
  const auto target = target_proto_builder_->generate_target_chassis_twist(vx, vy, wz);
  const ControlStatus status = target_dispatcher_->publish_proto_target(target);
  if (status == ControlStatus::SUCCESS) {
    velocity.sent();
  }
  return status;
}

ControlStatus BaseControl::set_base_pose(double x, double y, double yaw, const std::string& frame_id,
                                         const std::string& reference_frame_id, double time_from_start_s, bool blocking,
                                         double timeout_s) {
  if (!is_base_pose_valid(x, y, yaw, frame_id, reference_frame_id, time_from_start_s, timeout_s)) {
    return ControlStatus::INVALID_INPUT;
  }
  if (const ControlStatus status = select_pose_controller(); status != ControlStatus::SUCCESS) {
    return status;
  }
  if (const ControlStatus status = check_chassis(); status != ControlStatus::SUCCESS) {
    return status;
  }
  const double move_time_s = time_from_start_s > 0.0 ? time_from_start_s : kDefaultMoveTimeS;
  const auto target =
      target_proto_builder_->generate_target_chassis_pose(x, y, yaw, frame_id, reference_frame_id, move_time_s);
  if (!has_dispatcher()) {
    return ControlStatus::INIT_FAILED;
  }
  const ControlStatus status = blocking ? move_and_wait(target, move_time_s, timeout_s) : move(target, timeout_s);
  if (status == ControlStatus::SUCCESS) {
    SDK_LOG(info) << "set_base_pose success";
  }
  return status;
}

ControlStatus BaseControl::move(const TargetPtr& target, double timeout_s) {
  ErrorInfo unread;
  const ControlStatus status = request_chassis_target(target, ceil_to_seconds(timeout_s), "set_base_pose", unread);
  if (status == ControlStatus::SUCCESS) {
    common_utils_->motions_under_way().base_velocity_ended();
  }
  return status;
}

ControlStatus BaseControl::move_and_wait(const TargetPtr& target, double move_time_s, double timeout_s) {
  MotionsUnderWay::Motion motion(common_utils_->motions_under_way(),
                                 {controller_manager_->get_chassis_group_name_impl()});
  const ControlStatus status = move(target, timeout_s);
  motion.commanded(status);
  if (status != ControlStatus::SUCCESS) {
    return status;
  }
  const ControlStatus slept = sleep_in_command("set_base_pose", move_time_s);
  if (slept == ControlStatus::SUCCESS) {
    motion.ended();
  }
  return slept;
}

ControlStatus BaseControl::stop_base(ErrorInfo& error_info, int timeout_s) {
  if (const ControlStatus status = prepare_twist(); status != ControlStatus::SUCCESS) {
    return status;
  }
  const auto target = target_proto_builder_->generate_target_chassis_twist(0.0, 0.0, 0.0);
  const ControlStatus status = request_chassis_target(target, std::chrono::seconds(timeout_s), "stop_base", error_info);
  if (status == ControlStatus::SUCCESS) {
    common_utils_->motions_under_way().base_velocity_ended();
    SDK_LOG(info) << "stop_base success";
  }
  return status;
}

ControlStatus BaseControl::select_twist_controller() {
  const auto status =
      controller_manager_->switch_controller(controller_manager_->get_chassis_twist_controller_name_impl(), false);
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "switch controller mode to 1 fail";
  }
  return status;
}

// Always asks the service, also when the pose controller is believed to be active.
ControlStatus BaseControl::select_pose_controller() {
  const auto status =
      controller_manager_->switch_controller(controller_manager_->get_chassis_pose_controller_name_impl(), true);
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << "switch controller mode to 0 fail";
  }
  return status;
}

ControlStatus BaseControl::prepare_twist() {
  if (const ControlStatus status = select_twist_controller(); status != ControlStatus::SUCCESS) {
    return status;
  }
  return has_dispatcher() ? check_chassis() : ControlStatus::INIT_FAILED;
}

bool BaseControl::has_dispatcher() const {
  if (!target_dispatcher_) {
    SDK_LOG(error) << "ERROR: target_dispatcher_ is nullptr, please init.";
  }
  return target_dispatcher_ != nullptr;
}

ControlStatus BaseControl::check_chassis() const {
  return check_no_fatal_error(*common_utils_, controller_manager_->get_chassis_group_name_impl(), "has fatal error");
}

ControlStatus BaseControl::request_chassis_target(const TargetPtr& target, std::chrono::seconds timeout,
                                                  const char* operation, ErrorInfo& error_info) {
  const auto [status, response] = target_dispatcher_->request_proto_target(target, timeout);
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << operation << " dispatch fail";
    return status;
  }
  if (common_utils_->has_fatal_error(controller_manager_->get_chassis_group_name_impl(), response)) {
    common_utils_->transform_to_error_info(response, error_info);
    SDK_LOG(error) << operation << " fault";
    return ControlStatus::FAULT;
  }
  return ControlStatus::SUCCESS;
}

std::shared_ptr<OdomData> BaseControl::get_odom() const {
  const auto message = odometry_.get_data();
  if (!message) {
    SDK_LOG(error) << "get_odom fetch failed: odom_msg is nullptr";
    return nullptr;
  }
  const auto& pose = message->pose().pose();
  const auto& twist = message->twist().twist();
  auto odom = std::make_shared<OdomData>();
  odom->timestamp_ns = header_time_ns_integer(message->header());
  odom->position = to_array(pose.position());
  odom->orientation = {pose.orientation().x(), pose.orientation().y(), pose.orientation().z(), pose.orientation().w()};
  odom->linear_velocity = to_array(twist.linear());
  odom->angular_velocity = to_array(twist.angular());
  return odom;
}

ControlStatus BaseControl::get_base_velocity(std::unordered_map<std::string, std::array<double, 3>>& velocity) const {
  const auto message = odometry_.get_data();
  if (!message) {
    return ControlStatus::DATA_FETCH_FAILED;
  }
  const auto& twist = message->twist().twist();
  velocity["linear"] = to_array(twist.linear());
  velocity["angular"] = to_array(twist.angular());
  return ControlStatus::SUCCESS;
}

void BaseControl::odom_callback(const std::shared_ptr<navigation_proto::Odometry>& odometry) {
  if (!odometry) {
    SDK_LOG(error) << "odom callback message is nullptr";
    return;
  }
  odometry_.set_data(odometry);
}

bool is_base_pose_valid(double x, double y, double yaw, const std::string& frame_id,
                        const std::string& reference_frame_id, double time_from_start_s, double timeout_s) {
  if (!are_finite(x, y, yaw, time_from_start_s, timeout_s)) {
    SDK_LOG(error) << "set_base_pose contains NaN or Inf, got x=" << x << ", y=" << y << ", yaw=" << yaw
                   << ", time_from_start_s=" << time_from_start_s << ", timeout_s=" << timeout_s;
    return false;
  }
  const bool valid_frame_id = CommonUtils::is_valid_frame_id(frame_id) || frame_id == "rel(0)";
  SDK_LOG(info) << "valid_frame_id: " << valid_frame_id << ", frame_id: " << frame_id
                << ", reference_frame_id: " << reference_frame_id << "pose is : " << x << ", " << y << ", " << yaw;
  if (!valid_frame_id || !CommonUtils::is_valid_reference_frame_id(reference_frame_id)) {
    SDK_LOG(error) << "set_base_pose invalid frame_id/reference_frame_id: " << frame_id << "  /  "
                   << reference_frame_id;
    return false;
  }
  return true;
}

double yaw_from_quat(double x, double y, double z, double w) {
  return std::atan2(2.0 * (w * z + x * y), 1.0 - 2.0 * (y * y + z * z));
}

}  // namespace norvik::sdk
