#include "impl/requests/kinematic_requests.hpp"

#include <map>

#include "impl/requests/guarded.hpp"
#include "impl/requests/proto_conversion.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

template <typename Request>
void set_state(const std::vector<double>& whole_body, const std::vector<double>& base, Request& request) {
  if (!whole_body.empty() || !base.empty()) {
    set_robot_state(whole_body, base, *request.mutable_robot_state());
  }
}

MotionStatus set_target_frame(const InverseKinematicsGoal& goal, proto::PoseState& pose) {
  const std::map<std::string, bool> is_tool{
      {"EndEffector", false}, {"Tool", true}, {goal.chain + "_end_effector_mount_link", false}};
  const auto row = is_tool.find(goal.target_frame);
  if (row == is_tool.end()) {
    SDK_LOG(error) << "invalid frame_id: " << goal.target_frame << " support frame_id: [EndEffector, Tool]";
    return MotionStatus::INVALID_INPUT;
  }
  pose.set_is_tool_pose(row->second);
  return MotionStatus::SUCCESS;
}

}  // namespace

void fill_forward_kinematics(const std::string& target_link, const std::string& reference_frame,
                             const std::vector<double>& whole_body, const std::vector<double>& base,
                             proto::ForwardKinematicRequest& request) {
  set_state(whole_body, base, request);
  request.set_parent_frame(resolve_map_frame(reference_frame));
  request.add_link_names(target_link);
}

MotionStatus fill_inverse_kinematics(const InverseKinematicsGoal& goal, const std::vector<double>& whole_body,
                                     const std::vector<double>& base, proto::InverseKinematicRequest& request) {
  return guarded([&] {
    if (!whole_body.empty() || !base.empty()) {
      set_robot_state(whole_body, base, *request.mutable_start_state());
    }
    if (goal.chain != "left_arm" && goal.chain != "right_arm") {
      SDK_LOG(warning) << "chain_name better in [left_arm, right_arm]";
    }
    request.set_chain(chain_type(goal.chain));
    request.set_actuate_type(motion_tables().actuate_type_map_.at(goal.actuate_type));
    request.set_is_check_collision(goal.check_collision);
    auto& body = *request.mutable_target_state()->mutable_body();
    body.set_type(proto::BodyState::CART);
    auto& pose = *body.mutable_pose();
    const MotionStatus status = set_target_frame(goal, pose);
    if (status == MotionStatus::SUCCESS) {
      pose.mutable_parent_frame()->set_map_frame(resolve_map_frame(goal.reference_frame));
      convert_to_pose_proto(goal.pose, *pose.mutable_pose());
    }
    return status;
  });
}

void fill_jacobian(const std::string& link, const std::string& reference_frame, const std::vector<double>& whole_body,
                   const std::vector<double>& base, proto::JacobianRequest& request) {
  set_state(whole_body, base, request);
  request.add_link_names(link);
  request.set_parent_frame(resolve_map_frame(reference_frame));
}

void fill_check_collision(const std::vector<std::vector<double>>& joints, const std::vector<std::vector<double>>& bases,
                          proto::CheckCollisionRequest& request) {
  for (size_t i = 0; i < joints.size(); ++i) {
    set_robot_state(joints[i], i < bases.size() ? bases[i] : std::vector<double>{}, *request.add_robot_state());
    request.add_is_check_once(true);
    request.add_is_log(true);
  }
}

}  // namespace norvik::sdk
