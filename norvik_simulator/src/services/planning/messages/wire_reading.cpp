#include "services/planning/messages/wire_reading.hpp"

#include <cmath>
#include <utility>
#include <vector>

#include "services/planning/messages/bad_request.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;

std::vector<double> read_values(const core_proto::Vector& vector) {
  return {vector.data().begin(), vector.data().end()};
}

planning::Actuate read_actuate(int type) {
  if (!proto::ActuateType_IsValid(type)) {
    throw BadRequest("unknown actuate_type " + std::to_string(type));
  }
  return static_cast<planning::Actuate>(type);
}

// Empty, and so no chain of any robot, for a value that is none.
std::string read_chain(int chain) {
  return proto::ChainType_IsValid(chain) ? proto::ChainType_Name(static_cast<proto::ChainType>(chain)) : "";
}

planning::PoseTarget read_target(const proto::PoseState& state) {
  planning::PoseTarget target;
  target.pose = read_pose(state.pose());
  target.frame = read_frame(state.parent_frame());
  target.relative = state.is_relative();
  target.tool = state.is_tool_pose();
  return target;
}

planning::Goal read_goal(const proto::BodyState& state) {
  if (state.type() == proto::BodyState::CART) {
    return read_target(state.pose());
  }
  return read_values(state.joint().positions());
}

template <typename Request>
planning::PlanRequest read_goals(const Request& request, const planning::RobotState& now) {
  planning::PlanRequest plan;
  plan.start = read_state(request.start_state(), now);
  plan.actuate = read_actuate(request.actuate_type());
  plan.check_validity = request.options().is_check_traj_validity().value();
  for (const proto::ChainState& target : request.target_state()) {
    plan.targets.push_back({read_chain(target.chain()), {read_goal(target.chain_state().body())}});
  }
  return plan;
}

}  // namespace

KDL::Frame read_pose(const spatial_proto::Pose& pose) {
  const auto& p = pose.position();
  const auto& q = pose.orientation();
  const double norm = std::sqrt(q.x() * q.x() + q.y() * q.y() + q.z() * q.z() + q.w() * q.w());
  if (!std::isfinite(p.x()) || !std::isfinite(p.y()) || !std::isfinite(p.z()) || !std::isfinite(norm) || norm < 1e-6) {
    throw BadRequest("a pose is not finite, or has no orientation");
  }
  return {KDL::Rotation::Quaternion(q.x() / norm, q.y() / norm, q.z() / norm, q.w() / norm),
          KDL::Vector(p.x(), p.y(), p.z())};
}

planning::FrameRef read_frame(proto::MapFrame frame) {
  return frame == proto::BASE ? planning::FrameRef::base() : planning::FrameRef::world();
}

planning::FrameRef read_frame(const proto::ParentFrame& frame) {
  switch (frame.frametype_case()) {
    case proto::ParentFrame::kChainFrame:
      return planning::FrameRef::chain(read_chain(frame.chain_frame().chain()),
                                       static_cast<planning::ChainFrame>(frame.chain_frame().frame_type()));
    case proto::ParentFrame::kParentLinkName:
      return planning::FrameRef::link(frame.parent_link_name());
    default:
      return read_frame(frame.map_frame());
  }
}

planning::RobotState read_state(const proto::RobotStates& state, const planning::RobotState& now) {
  planning::RobotState result = now;
  if (const auto& positions = state.body().joint().positions(); !positions.data().empty()) {
    result.joints = read_values(positions);
  }
  if (state.base().has_pose()) {
    result.base = read_pose(state.base().pose());
  }
  return result;
}

planning::PlanRequest read_plan(const proto::MotionPlanRequest& request, const planning::RobotState& now) {
  return read_goals(request, now);
}

planning::PlanRequest read_plan(const proto::MoveLineRequest& request, const planning::RobotState& now) {
  return read_goals(request, now);
}

planning::PlanRequest read_plan(const proto::SigPointTrajPlanRequest& request, const planning::RobotState& now) {
  return read_goals(request, now);
}

planning::PlanRequest read_waypoints(const proto::MulPointTrajPlanRequest& request, const planning::RobotState& now) {
  planning::PlanRequest plan;
  plan.start = read_state(request.start_state(), now);
  plan.check_validity = request.options().is_check_traj_validity().value();
  for (const proto::RobotTrajectory& trajectory : request.target_state().trajectories()) {
    planning::ChainGoals goals{read_chain(trajectory.chain()), {}};
    for (const proto::JointState& joints : trajectory.joints()) {
      goals.goals.emplace_back(read_values(joints.positions()));
    }
    for (const proto::PoseState& pose : trajectory.poses()) {
      goals.goals.emplace_back(read_target(pose));
    }
    plan.targets.push_back(std::move(goals));
  }
  return plan;
}

planning::IkRequest read_inverse(const proto::InverseKinematicRequest& request, const planning::RobotState& now) {
  planning::IkRequest result;
  result.start = read_state(request.start_state(), now);
  result.chain = read_chain(request.chain());
  result.actuate = read_actuate(request.actuate_type());
  result.target = read_target(request.target_state().body().pose());
  result.check_collision = request.is_check_collision();
  return result;
}

}  // namespace norvik::simulator
