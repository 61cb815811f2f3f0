// The zero posture of body and base at once.

#include "common_provider.hpp"
#include "impl/wbc_base.hpp"

namespace norvik::sdk {

namespace {

constexpr double kDefaultBaseTimeS = 1.0;

// The first eleven values mean the same; planning knows more.
ControlStatus to_control_status(MotionStatus status) {
  const auto value = static_cast<int32_t>(status);
  return value > static_cast<int32_t>(ControlStatus::STATUS_NUM) ? ControlStatus::FAULT
                                                                 : static_cast<ControlStatus>(value);
}

ControlStatus zero_joints(bool blocking, double speed, double timeout_s, const std::shared_ptr<Parameter>& parameter) {
  const auto& move_zero = WholeBodyJointProvider::move_whole_body_joint_zero_func_;
  return move_zero ? to_control_status(move_zero(blocking, timeout_s, speed, parameter)) : ControlStatus::INVALID_INPUT;
}

}  // namespace

std::pair<ControlStatus, ControlStatus> WbcBase::zero_whole_body_and_base(const Pose& pose, bool blocking, double speed,
                                                                          double timeout_s,
                                                                          std::shared_ptr<Parameter> parameter) {
  const double yaw = yaw_from_quat(pose.qx, pose.qy, pose.qz, pose.qw);
  return zero_joints_and_base({pose.x, pose.y, yaw}, "odom", "odom", blocking, speed, timeout_s, std::move(parameter));
}

std::pair<ControlStatus, ControlStatus> WbcBase::zero_whole_body_and_base(const std::string& frame_id,
                                                                          const std::string& reference_frame_id,
                                                                          bool blocking, double speed, double timeout_s,
                                                                          std::shared_ptr<Parameter> parameter) {
  return zero_joints_and_base({0.0, 0.0, 0.0}, frame_id, reference_frame_id, blocking, speed, timeout_s,
                              std::move(parameter));
}

// The base gets its command first and moves while the joints do. `base_target` is x, y, yaw.
std::pair<ControlStatus, ControlStatus> WbcBase::zero_joints_and_base(const std::array<double, 3>& base_target,
                                                                      const std::string& frame_id,
                                                                      const std::string& reference_frame_id,
                                                                      bool blocking, double speed, double timeout_s,
                                                                      std::shared_ptr<Parameter> parameter) {
  if (!parameter) {
    parameter = default_param;
  }
  const SteadyTime start = steady_now();
  const double base_time_s = timeout_s > 0.0 ? timeout_s : kDefaultBaseTimeS;
  const ControlStatus base = set_base_pose(base_target[0], base_target[1], base_target[2], frame_id, reference_frame_id,
                                           base_time_s, false, timeout_s);
  const ControlStatus joints = zero_joints(blocking, speed, timeout_s, parameter);
  if (base == ControlStatus::SUCCESS && blocking) {
    const std::chrono::duration<double> elapsed = steady_now() - start;
    sleep_for_seconds(base_time_s - elapsed.count());
  }
  return {joints, base};
}

}  // namespace norvik::sdk
