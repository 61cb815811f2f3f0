// Whether the robot would collide in given states.

#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "impl/replies/task_results.hpp"
#include "impl/requests/argument_checks.hpp"
#include "impl/requests/kinematic_requests.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

std::tuple<MotionStatus, std::vector<bool>> NorvikMotionBase::check_collision(
    const std::vector<std::shared_ptr<RobotStates>>& states, bool /*check_once*/,
    std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  const auto config = read_parameter(parameter, "check_collision");
  if (!config || !check_timeout(config->timeout)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  std::vector<std::vector<double>> joints(states.size());
  std::vector<std::vector<double>> bases(states.size());
  for (size_t i = 0; i < states.size(); ++i) {
    const MotionStatus status = read_collision_state(states[i], joints[i], bases[i]);
    if (status != MotionStatus::SUCCESS) {
      return {status, {}};
    }
  }
  return check_collision_impl(joints, bases, *config);
}

MotionStatus NorvikMotionBase::read_collision_state(const std::shared_ptr<RobotStates>& state,
                                                    std::vector<double>& joints, std::vector<double>& base) {
  if (!state) {
    SDK_LOG(error) << "check collision state must not be nullptr.";
    return MotionStatus::INVALID_INPUT;
  }
  if (state->get_type() == kPoseKind) {
    SDK_LOG(error) << "check collision state can not be POSE type.";
    return MotionStatus::INVALID_INPUT;
  }
  joints = state->whole_body_joint;
  base = state->base_state;
  if (const auto chain_state = as_joint_states(state)) {
    joints = get_whole_body_joint_state();
    if (joints.empty()) {
      return MotionStatus::DATA_FETCH_FAILED;
    }
    if (!replace_joint_state(chain_state->chain, chain_state->joint_positions, joints)) {
      SDK_LOG(error) << "replace_joint_state failed.";
      return MotionStatus::INVALID_INPUT;
    }
  }
  const auto checker = data_checker();
  if (!checker->check_whole_body_state(joints, false)) {
    SDK_LOG(error) << "whole body state size invalid.";
    return MotionStatus::INVALID_INPUT;
  }
  if (base.empty()) {
    base = get_base_state();
  }
  if (!checker->check_pose_7d_size(base, false)) {
    SDK_LOG(error) << "base state size invalid.";
    return MotionStatus::INVALID_INPUT;
  }
  return MotionStatus::SUCCESS;
}

std::tuple<MotionStatus, std::vector<bool>> NorvikMotionBase::check_collision_impl(
    const std::vector<std::vector<double>>& joints, const std::vector<std::vector<double>>& bases,
    const PlannerConfig& config) {
  PlanRequest request = make_request("check_collision");
  fill_check_collision(joints, bases, *request.mutable_check_collision());
  const auto [status, last] = execute_plan_request(request, config.timeout);
  if (status != MotionStatus::SUCCESS) {
    return {status, {}};
  }
  return parse_collision_result(last, joints.size());
}

}  // namespace norvik::sdk
