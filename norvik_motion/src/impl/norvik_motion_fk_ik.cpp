// Forward and inverse kinematics, and poses from the robot's transforms.

#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "impl/replies/task_results.hpp"
#include "impl/requests/argument_checks.hpp"
#include "impl/requests/guarded.hpp"
#include "impl/requests/kinematic_requests.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using PoseResult = std::tuple<MotionStatus, std::vector<double>>;
using InverseResult = std::tuple<MotionStatus, NorvikMotion::JointMap>;

constexpr int64_t kTransformTimeoutMs = 100;

std::optional<ChainChoice> choose_chain(const std::vector<std::string>& chain_names) {
  ChainChoice choice = validate_and_get_chain_type(chain_names);
  if (!choice.chain.empty()) {
    return choice;
  }
  SDK_LOG(error) << "invalid chain names input,only support:\n"
                 << "{left_arm}, {leg},{leg, left_arm},{torso, left_arm},\n"
                 << "{right_arm},{leg, right_arm},{torso, right_arm},\n"
                 << "{leg, head},{torso, head}";
  return std::nullopt;
}

}  // namespace

// What an inverse operation asks for.
struct NorvikMotionBase::InverseCall {
  InverseKinematicsGoal goal;
  double timeout_s = 0.0;
};

PoseResult NorvikMotionBase::forward_kinematics(const std::string& target_link, const std::string& reference_frame,
                                                const JointMap& joint_state, std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  const auto config = read_parameter(parameter, "forward_kinematics");
  return config && check_timeout(config->timeout)
             ? forward_kinematic(target_link, joint_state, reference_frame, *config)
             : PoseResult{MotionStatus::INVALID_INPUT, {}};
}

PoseResult NorvikMotionBase::forward_kinematics_by_state(const std::string& target_link,
                                                         std::shared_ptr<RobotStates> state,
                                                         const std::string& reference_frame,
                                                         std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  const auto config = read_parameter(parameter, "forward_kinematics_by_state");
  if (!config || !check_timeout(config->timeout)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  return state ? forward_kinematic(target_link, reference_frame, state->whole_body_joint, state->base_state, *config)
               : forward_kinematic(target_link, reference_frame, {}, {}, *config);
}

PoseResult NorvikMotionBase::forward_kinematic(const std::string& target_link, const JointMap& joint_state,
                                               const std::string& reference_frame, const PlannerConfig& config) {
  SDK_LOG(info) << "forward_kinematic: target_link = " << target_link << ", reference_frame = " << reference_frame;
  if (!is_supported_link(target_link)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  if (!joint_state.empty() && !data_checker()->check_chain_joint_state(joint_state, false)) {
    SDK_LOG(error) << "forward_kinematic: check_chain_joint_state failed";
    return {MotionStatus::INVALID_INPUT, {}};
  }
  SDK_LOG(info) << "get whole body joint state begin.";
  std::vector<double> whole_body = get_whole_body_joint_state();
  SDK_LOG(info) << "get whole body joint state end";
  if (whole_body.empty()) {
    SDK_LOG(error) << "get whole body joint state failed";
    return {MotionStatus::DATA_FETCH_FAILED, {}};
  }
  for (const auto& [chain, joints] : joint_state) {
    replace_joint_state(chain, joints, whole_body);
  }
  return send_forward_kinematics(target_link, reference_frame, whole_body, {}, config);
}

PoseResult NorvikMotionBase::forward_kinematic(const std::string& target_link, const std::string& reference_frame,
                                               const std::vector<double>& whole_body, const std::vector<double>& base,
                                               const PlannerConfig& config) {
  if (!is_supported_link(target_link)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  const auto checker = data_checker();
  if ((!whole_body.empty() && !checker->check_whole_body_state(whole_body, false)) ||
      (!base.empty() && !checker->check_pose_7d_size(base, false))) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  return send_forward_kinematics(target_link, reference_frame, whole_body, base, config);
}

bool NorvikMotionBase::is_supported_link(const std::string& link) {
  if (get_support_links().count(link) != 0) {
    return true;
  }
  SDK_LOG(error) << "target link is not in support links";
  return false;
}

PoseResult NorvikMotionBase::send_forward_kinematics(const std::string& target_link, const std::string& reference_frame,
                                                     const std::vector<double>& whole_body,
                                                     const std::vector<double>& base, const PlannerConfig& config) {
  PlanRequest request = make_request("planner_forward_kinematic");
  fill_forward_kinematics(target_link, reference_frame, whole_body, base, *request.mutable_forward_kinematics());
  const auto [status, last] = execute_plan_request(request, config.timeout);
  return status == MotionStatus::SUCCESS ? parse_fk_result(last) : PoseResult{status, {}};
}

InverseResult NorvikMotionBase::inverse_kinematics(const std::vector<double>& pose,
                                                   const std::vector<std::string>& chain_names,
                                                   const std::string& target_frame, const std::string& reference_frame,
                                                   const JointMap& joint_state, bool check_collision,
                                                   std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  const auto config = read_parameter(parameter, "inverse_kinematics");
  if (!config || !check_timeout(config->timeout)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  const auto choice = choose_chain(chain_names);
  if (!choice) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  if (!check_pose_size(pose)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  const ActuateType actuate_type = g_actuate_type_map.at(choice->actuate_name);
  write_actuate_type(*parameter, actuate_type);
  return inverse_kinematic(
      {{choice->chain, pose, target_frame, reference_frame, check_collision, actuate_type}, config->timeout},
      joint_state);
}

InverseResult NorvikMotionBase::inverse_kinematics_by_state(const std::vector<double>& pose,
                                                            const std::vector<std::string>& chain_names,
                                                            const std::string& target_frame,
                                                            const std::string& reference_frame,
                                                            std::shared_ptr<RobotStates> state, bool check_collision,
                                                            std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  const auto choice = choose_chain(chain_names);
  const auto config = choice ? read_parameter(parameter, "inverse_kinematics_by_state") : std::nullopt;
  if (!config || !check_timeout(config->timeout)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  if (!check_reference(state)) {
    return {MotionStatus::INVALID_INPUT, {}};
  }
  const ActuateType actuate_type = g_actuate_type_map.at(choice->actuate_name);
  write_actuate_type(*parameter, actuate_type);
  const InverseCall call{{choice->chain, pose, target_frame, reference_frame, check_collision, actuate_type},
                         config->timeout};
  return state ? inverse_kinematic(call, state->whole_body_joint, state->base_state) : inverse_kinematic(call, {}, {});
}

InverseResult NorvikMotionBase::inverse_kinematic(const InverseCall& call, const JointMap& joint_state) {
  const InverseKinematicsGoal& goal = call.goal;
  const auto checker = data_checker();
  const MotionStatus checked = guarded([&] {
    checker->check_chain(goal.chain, true);
    checker->check_frame(goal.reference_frame, true);
    checker->check_chain_joint_state(joint_state, true);
    checker->check_pose_7d_size(goal.pose, true);
    return MotionStatus::SUCCESS;
  });
  if (checked != MotionStatus::SUCCESS) {
    return {checked, {}};
  }
  std::vector<double> whole_body;
  if (!joint_state.empty()) {
    whole_body = get_whole_body_joint_state();
    if (whole_body.empty()) {
      SDK_LOG(error) << "inverse_kinematic: get_whole_body_joint_state returned empty when applying user joint_state, "
                     << "will return DATA_FETCH_FAILED. chain_type = " << goal.chain
                     << ", reference_frame = " << goal.reference_frame;
      return {MotionStatus::DATA_FETCH_FAILED, {}};
    }
    for (const auto& [chain, joints] : joint_state) {
      replace_joint_state(chain, joints, whole_body);
    }
  }
  return send_inverse_kinematics(call, whole_body, {});
}

InverseResult NorvikMotionBase::inverse_kinematic(const InverseCall& call, const std::vector<double>& whole_body,
                                                  const std::vector<double>& base) {
  const auto checker = data_checker();
  const MotionStatus checked = guarded([&] {
    checker->check_chain(call.goal.chain, true);
    checker->check_frame(call.goal.reference_frame, true);
    checker->check_pose_7d_size(call.goal.pose, true);
    if (!whole_body.empty()) {
      checker->check_whole_body_state(whole_body, true);
    }
    if (!base.empty()) {
      checker->check_pose_7d_size(base, true);
    }
    return MotionStatus::SUCCESS;
  });
  if (checked != MotionStatus::SUCCESS) {
    return {checked, {}};
  }
  if (whole_body.empty() || base.empty()) {
    return send_inverse_kinematics(call, {}, {});
  }
  return send_inverse_kinematics(call, whole_body, base);
}

InverseResult NorvikMotionBase::send_inverse_kinematics(const InverseCall& call, const std::vector<double>& whole_body,
                                                        const std::vector<double>& base) {
  PlanRequest request = make_request("planner_inverse_kinematic");
  const MotionStatus filled =
      fill_inverse_kinematics(call.goal, whole_body, base, *request.mutable_inverse_kinematics());
  if (filled != MotionStatus::SUCCESS) {
    return {filled, {}};
  }
  const auto [status, last] = execute_plan_request(request, call.timeout_s);
  return status == MotionStatus::SUCCESS ? parse_ik_result(last) : InverseResult{status, {}};
}

PoseResult NorvikMotionBase::get_end_effector_pose(const std::string& end_effector_frame,
                                                   const std::string& reference_frame) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  return get_end_effector_pose_impl(end_effector_frame, reference_frame);
}

PoseResult NorvikMotionBase::get_end_effector_pose_on_chain(const std::string& chain, std::string frame_id,
                                                            const std::string& reference_frame) {
  if (!is_valid_or_log()) {
    return {MotionStatus::INIT_FAILED, {}};
  }
  if (!is_chain_name_valid(chain, false)) {
    SDK_LOG(error) << "invalid chain name: " << chain;
    return {MotionStatus::INVALID_INPUT, {}};
  }
  if (frame_id == "EndEffector") {
    return get_end_effector_pose_impl(chain + "_end_effector_mount_link", reference_frame);
  }
  if (frame_id == "Camera") {
    return get_end_effector_pose_impl(chain + "_camera_color_optical_frame", reference_frame);
  }
  SDK_LOG(error) << "invalid frame_id input, only support: EndEffector, Camera";
  return {MotionStatus::INVALID_INPUT, {}};
}

PoseResult NorvikMotionBase::get_end_effector_pose_impl(const std::string& frame, const std::string& reference_frame) {
  const std::set<std::string> links = get_support_links();
  if (links.count(reference_frame) == 0) {
    SDK_LOG(error) << "Reference frame " << reference_frame << " not found in support links.";
    return {MotionStatus::INVALID_INPUT, {}};
  }
  if (links.count(frame) == 0) {
    SDK_LOG(error) << "End effector frame " << frame << " not found in support links.";
    return {MotionStatus::INVALID_INPUT, {}};
  }
  std::array<double, 7> pose{};
  int64_t timestamp_ns = 0;
  const MotionStatus status = get_transform(reference_frame, frame, 0, kTransformTimeoutMs, pose, timestamp_ns);
  if (status != MotionStatus::SUCCESS) {
    return {status, {}};
  }
  return {status, {pose.begin(), pose.end()}};
}

}  // namespace norvik::sdk
