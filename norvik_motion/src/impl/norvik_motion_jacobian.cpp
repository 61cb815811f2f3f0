// Jacobians: one request to the kinematic service, without a task.

#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "impl/replies/task_results.hpp"
#include "impl/requests/argument_checks.hpp"
#include "impl/requests/guarded.hpp"
#include "impl/requests/kinematic_requests.hpp"
#include "impl/tables/text_lists.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using JacobianResult = std::tuple<MotionStatus, std::vector<std::vector<double>>>;

constexpr std::chrono::seconds kReplyTimeout{5};

JacobianResult failed(MotionStatus status) { return {status, {}}; }

}  // namespace

struct NorvikMotionBase::JacobianCall {
  const std::string& chain;
  const std::string& target_frame;
  const std::string& reference_frame;
  double timeout_s;  // Checked, and otherwise without effect.
};

JacobianResult NorvikMotionBase::get_jacobian(const std::string& chain, const std::string& target_frame,
                                              const std::string& reference_frame, const JointMap& joint_state,
                                              std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return failed(MotionStatus::INIT_FAILED);
  }
  const auto config = read_parameter(parameter, "get_jacobian");
  return config ? jacobian({chain, target_frame, reference_frame, config->timeout}, joint_state)
                : failed(MotionStatus::INVALID_INPUT);
}

JacobianResult NorvikMotionBase::get_jacobian_by_state(const std::string& chain, const std::string& target_frame,
                                                       const std::string& reference_frame,
                                                       std::shared_ptr<RobotStates> state,
                                                       std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return failed(MotionStatus::INIT_FAILED);
  }
  const auto config = read_parameter(parameter, "get_jacobian_by_state");
  if (!config) {
    return failed(MotionStatus::INVALID_INPUT);
  }
  if (!check_reference(state)) {
    return failed(MotionStatus::INVALID_INPUT);
  }
  std::vector<double> whole_body = state ? state->whole_body_joint : std::vector<double>{};
  if (whole_body.empty()) {
    whole_body = get_whole_body_joint_state();
  }
  if (whole_body.empty()) {
    SDK_LOG(error) << "get_jacobian_by_state: get_whole_body_joint_state returned empty";
    return failed(MotionStatus::DATA_FETCH_FAILED);
  }
  const bool has_base = state && !state->base_state.empty();
  return jacobian({chain, target_frame, reference_frame, config->timeout}, whole_body,
                  has_base ? state->base_state : get_base_state());
}

std::string NorvikMotionBase::resolve_jacobian_target_link(const std::string& chain,
                                                           const std::string& target_frame) const {
  if (target_frame == "EndEffector") {
    return (chain == "torso" ? "leg" : chain) + "_end_effector_mount_link";
  }
  return target_frame == "Tool" ? std::string() : target_frame;
}

MotionStatus NorvikMotionBase::check_kinematic_service(double timeout_s) {
  const auto client = mps_kinematic_client_.get_data();
  if (!client) {
    SDK_LOG(error) << "Kinematic client is not initialized.";
    return MotionStatus::INIT_FAILED;
  }
  if (client->GetMatchedServerCount() == 0) {
    SDK_LOG(error) << "Kinematic service is not connected. "
                   << "Please make sure motion_planning_service/kinematic is running "
                   << "and the robot-side software version matches this SDK.";
    return MotionStatus::COMM_DISCONNECTED;
  }
  if (!(timeout_s > 0.0)) {
    SDK_LOG(error) << "Invalid [timeout_second] value, must be positive.";
    return MotionStatus::INVALID_INPUT;
  }
  return MotionStatus::SUCCESS;
}

JacobianResult NorvikMotionBase::jacobian(const JacobianCall& call, const JointMap& joint_state) {
  const MotionStatus service = check_kinematic_service(call.timeout_s);
  if (service != MotionStatus::SUCCESS) {
    return failed(service);
  }
  const auto checker = data_checker();
  const MotionStatus checked = guarded([&] {
    checker->check_chain(call.chain, true);
    checker->check_frame(call.reference_frame, true);
    checker->check_chain_joint_state(joint_state, true);
    return MotionStatus::SUCCESS;
  });
  if (checked != MotionStatus::SUCCESS) {
    return failed(checked);
  }
  std::vector<double> whole_body = get_whole_body_joint_state();
  if (whole_body.empty()) {
    SDK_LOG(error) << "jacobian: get_whole_body_joint_state returned empty";
    return failed(MotionStatus::DATA_FETCH_FAILED);
  }
  for (const auto& [chain, joints] : joint_state) {
    if (!replace_joint_state(chain, joints, whole_body)) {
      SDK_LOG(error) << "jacobian: replace_joint_state failed";
      return failed(MotionStatus::INVALID_INPUT);
    }
  }
  return jacobian(call, whole_body, get_base_state());
}

JacobianResult NorvikMotionBase::jacobian(const JacobianCall& call, const std::vector<double>& whole_body,
                                          const std::vector<double>& base) {
  const MotionStatus checked = check_jacobian(call, whole_body, base);
  if (checked != MotionStatus::SUCCESS) {
    return failed(checked);
  }
  const auto link = jacobian_link(call);
  if (!link) {
    return failed(MotionStatus::INVALID_INPUT);
  }
  kelvorn_proto::KinematicRequest request;
  request.set_task_id(generate_task_id("planner_jacobian", task_counter_));
  fill_jacobian(*link, call.reference_frame, whole_body, base, *request.mutable_jacobian_req());
  SDK_LOG(info) << "jacobian: link = " << *link << ", reference_frame = " << call.reference_frame;
  const auto client = mps_kinematic_client_.get_data();
  const auto response = client ? client->SendRequest(request, kReplyTimeout) : nullptr;
  if (!response) {
    SDK_LOG(error) << "jacobian: kinematic RPC returned null (timeout?)";
    return failed(MotionStatus::TIMEOUT);
  }
  return parse_jacobian_result(*response);
}

MotionStatus NorvikMotionBase::check_jacobian(const JacobianCall& call, const std::vector<double>& whole_body,
                                              const std::vector<double>& base) {
  const MotionStatus service = check_kinematic_service(call.timeout_s);
  if (service != MotionStatus::SUCCESS) {
    return service;
  }
  const auto checker = data_checker();
  const MotionStatus named = guarded([&] {
    checker->check_chain(call.chain, true);
    checker->check_frame(call.reference_frame, true);
    return MotionStatus::SUCCESS;
  });
  if (named != MotionStatus::SUCCESS) {
    return named;
  }
  if (whole_body.empty()) {
    SDK_LOG(error) << "jacobian: whole-body joint state is empty.";
    return MotionStatus::INVALID_INPUT;
  }
  if (!checker->check_whole_body_state(whole_body, false)) {
    SDK_LOG(error) << "jacobian: check_whole_body_state failed.";
    return MotionStatus::INVALID_INPUT;
  }
  if (!base.empty() && !checker->check_pose_7d_size(base, false)) {
    SDK_LOG(error) << "jacobian: base pose size must be 7.";
    return MotionStatus::INVALID_INPUT;
  }
  return MotionStatus::SUCCESS;
}

std::optional<std::string> NorvikMotionBase::jacobian_link(const JacobianCall& call) {
  const std::string link = resolve_jacobian_target_link(call.chain, call.target_frame);
  if (link.empty() && call.target_frame == "Tool") {
    SDK_LOG(error) << "jacobian: target_frame 'Tool' is not supported. "
                   << "The kinematic service computes the Jacobian by link name and "
                   << "has no tool-pose (TCP) Jacobian capability. "
                   << "Use 'EndEffector' or a valid URDF link name from get_support_links().";
    return std::nullopt;
  }
  if (link.empty()) {
    SDK_LOG(error) << "jacobian: target_frame '" << call.target_frame << "' could not be resolved to a URDF link.";
    return std::nullopt;
  }
  const std::set<std::string> links = get_support_links();
  if (links.count(link) == 0) {
    SDK_LOG(error) << "jacobian: target_frame '" << call.target_frame << "' resolved to link '" << link
                   << "' which is not a valid URDF link. "
                   << "Use 'EndEffector' or a link name from get_support_links() / get_link_names(). "
                   << "support_links" << count_and_names(links);
    return std::nullopt;
  }
  return link;
}

}  // namespace norvik::sdk
