#include "impl/requests/planning_requests.hpp"

#include <stdexcept>

#include "impl/requests/guarded.hpp"
#include "impl/requests/proto_conversion.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

constexpr auto kOk = MotionStatus::SUCCESS;
constexpr auto kInvalid = MotionStatus::INVALID_INPUT;

MotionStatus refuse_leg_path() {
  SDK_LOG(error)
      << "leg chain not support single_chain_plan. Will support in future. use move line instead to execute leg.";
  return kInvalid;
}

MotionStatus refuse_no_chain() {
  SDK_LOG(error) << "waypoints empty.";
  return kInvalid;
}

void require_target(const DataChecker& checker, const std::string& chain, TargetType type,
                    const std::vector<double>& target) {
  if (type == TargetType::kPose) {
    checker.check_pose_7d_size(target, true);
  } else {
    checker.check_chain_joint_state({{chain, target}}, true);
  }
}

void require_start(const DataChecker& checker, const PlanContext& context) {
  if (!context.start_joints.empty()) {
    checker.check_whole_body_state(context.start_joints, true);
  }
  if (!context.start_base.empty()) {
    checker.check_pose_7d_size(context.start_base, true);
  }
}

// A request without a start has no start_state at all.
template <typename Request>
void set_start_state(const PlanContext& context, Request& request) {
  if (!context.start_joints.empty() || !context.start_base.empty()) {
    set_robot_state(context.start_joints, context.start_base, *request.mutable_start_state());
  }
}

template <typename Request>
bool set_actuate_type(ActuateType type, Request& request) {
  const auto& rows = motion_tables().actuate_type_map_;
  const auto row = rows.find(type);
  if (row == rows.end()) {
    SDK_LOG(error) << "unsupport actuate_type: " << static_cast<int32_t>(type);
    return false;
  }
  request.set_actuate_type(row->second);
  return true;
}

void set_options(bool check_validity, proto::MotionPlanOptions& options) {
  options.mutable_is_traj_plan()->set_value(true);
  options.mutable_is_check_traj_validity()->set_value(check_validity);
}

// A frame that is neither of the world nor of the base is a chain.
void set_parent_frame(const DataChecker& checker, const std::string& frame, proto::ParentFrame& parent) {
  if (frame == "world" || frame == "map" || frame == "base_link") {
    parent.set_map_frame(resolve_map_frame(frame));
    return;
  }
  checker.check_chain(frame, true);
  parent.mutable_chain_frame()->set_chain(chain_type(frame));
}

void set_pose_target(const DataChecker& checker, const std::vector<double>& pose, const PlanContext& context,
                     proto::PoseState& state) {
  convert_to_pose_proto(pose, *state.mutable_pose());
  state.set_is_relative(context.config.relative_pose);
  state.set_is_tool_pose(context.config.tool_pose);
  set_parent_frame(checker, context.reference_frame, *state.mutable_parent_frame());
}

MotionStatus add_waypoint(const DataChecker& checker, const std::string& chain, TargetType type,
                          const std::vector<double>& waypoint, const PlanContext& context,
                          proto::RobotTrajectory& trajectory) {
  if (type == TargetType::kJoint) {
    if (!checker.check_chain_joint_state({{chain, waypoint}}, false)) {
      SDK_LOG(error) << "chain state invalid.";
      return kInvalid;
    }
    convert_to_body_state(waypoint, *trajectory.add_joints());
    return kOk;
  }
  if (!checker.check_pose_7d_size(waypoint, false)) {
    SDK_LOG(error) << "pose state invalid.";
    return kInvalid;
  }
  set_pose_target(checker, waypoint, context, *trajectory.add_poses());
  return kOk;
}

// The leg cannot be moved through waypoints, by joints neither.
MotionStatus add_chain_waypoints(const DataChecker& checker, const std::string& chain, TargetType type,
                                 const std::vector<std::vector<double>>& waypoints, const PlanContext& context,
                                 proto::MulPointTrajPlanRequest& request) {
  if (chain == "leg") {
    SDK_LOG(error) << "chain_type LEG is not supported for cartesian trajectory planning.";
    return kInvalid;
  }
  if (create_way_point_traj(checker, chain, type, waypoints, context, request) != kOk) {
    SDK_LOG(error) << "setupTrajectory failed.";
    return kInvalid;
  }
  return kOk;
}

MotionStatus set_waypoint_start(const DataChecker& checker, const PlanContext& context,
                                proto::MulPointTrajPlanRequest& request) {
  if (!context.start_joints.empty() && !checker.check_whole_body_state(context.start_joints, false)) {
    SDK_LOG(error) << "whole body state invalid.";
    return kInvalid;
  }
  if (!context.start_base.empty() && !checker.check_pose_7d_size(context.start_base, false)) {
    SDK_LOG(error) << "start pose state invalid.";
    return kInvalid;
  }
  set_start_state(context, request);
  return kOk;
}

MotionStatus add_line_target(const DataChecker& checker, const std::string& chain, TargetType type,
                             const std::vector<std::vector<double>>& targets, const PlanContext& context,
                             proto::MoveLineRequest& request) {
  return guarded([&] {
    if (targets.size() != 1) {
      throw std::runtime_error("Only one target state is supported for each chain");
    }
    checker.check_chain(chain, true);
    require_target(checker, chain, type, targets.front());
    if (!set_actuate_type(context.config.actuate_type, request)) {
      return kInvalid;
    }
    return convert_to_target_state(checker, chain, type, targets.front(), context, *request.add_target_state());
  });
}

}  // namespace

void set_robot_state(const std::vector<double>& joints, const std::vector<double>& base, proto::RobotStates& state) {
  if (!joints.empty()) {
    convert_to_body_state(joints, *state.mutable_body()->mutable_joint());
  }
  if (!base.empty()) {
    convert_to_pose_proto(base, *state.mutable_base()->mutable_pose());
  }
}

template <typename Request>
MotionStatus create_motion_data(const DataChecker& checker, const std::string& chain, TargetType type,
                                const std::vector<double>& target, const PlanContext& context, Request& request) {
  return guarded([&] {
    checker.check_chain(chain, true);
    require_target(checker, chain, type, target);
    require_start(checker, context);
    if (!set_actuate_type(context.config.actuate_type, request)) {
      return kInvalid;
    }
    request.clear_start_state();  // Every chain of a request starts from the same state.
    set_start_state(context, request);
    set_options(context.config.plan_path, *request.mutable_options());
    return convert_to_target_state(checker, chain, type, target, context, *request.add_target_state());
  });
}

template MotionStatus create_motion_data(const DataChecker&, const std::string&, TargetType, const std::vector<double>&,
                                         const PlanContext&, proto::MotionPlanRequest&);
template MotionStatus create_motion_data(const DataChecker&, const std::string&, TargetType, const std::vector<double>&,
                                         const PlanContext&, proto::MoveLineRequest&);

MotionStatus convert_to_target_state(const DataChecker& checker, const std::string& chain, TargetType type,
                                     const std::vector<double>& target, const PlanContext& context,
                                     proto::ChainState& state) {
  return guarded([&] {
    state.set_chain(chain_type(chain));
    auto& body = *state.mutable_chain_state()->mutable_body();
    if (type == TargetType::kPose) {
      body.set_type(proto::BodyState::CART);
      set_pose_target(checker, target, context, *body.mutable_pose());
    } else {
      body.set_type(proto::BodyState::JOINT);
      convert_to_body_state(target, *body.mutable_joint());
    }
    return kOk;
  });
}

MotionStatus create_way_point_traj(const DataChecker& checker, const std::string& chain, TargetType type,
                                   const std::vector<std::vector<double>>& waypoints, const PlanContext& context,
                                   proto::MulPointTrajPlanRequest& request) {
  if (waypoints.empty()) {
    return refuse_no_chain();
  }
  return guarded([&] {
    auto& trajectory = *request.mutable_target_state()->add_trajectories();
    trajectory.set_chain(chain_type(chain));
    for (const auto& waypoint : waypoints) {
      if (add_waypoint(checker, chain, type, waypoint, context, trajectory) != kOk) {
        return kInvalid;
      }
    }
    return kOk;
  });
}

MotionStatus fill_single_chain_path(const DataChecker& checker, const std::string& chain, TargetType type,
                                    const std::vector<double>& target, const PlanContext& context,
                                    proto::MotionPlanRequest& request) {
  return chain == "leg" ? refuse_leg_path() : create_motion_data(checker, chain, type, target, context, request);
}

MotionStatus fill_multi_chain_path(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                   const PlanContext& context, proto::MotionPlanRequest& request) {
  for (const auto& [chain, waypoints] : targets) {
    if (waypoints.size() > 1) {
      SDK_LOG(error) << "only support single target state for each chain. Will support multi target states in future.";
      return kInvalid;
    }
    const std::vector<double> target = waypoints.empty() ? std::vector<double>{} : waypoints.front();
    const MotionStatus status = fill_single_chain_path(checker, chain, type, target, context, request);
    if (status != kOk) {
      return status;
    }
  }
  return kOk;
}

MotionStatus fill_multi_chain_line(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                   const PlanContext& context, proto::MoveLineRequest& request) {
  const MotionStatus started = guarded([&] {
    require_start(checker, context);
    set_start_state(context, request);
    return kOk;
  });
  if (started != kOk) {
    return started;
  }
  for (const auto& [chain, waypoints] : targets) {
    const MotionStatus status = add_line_target(checker, chain, type, waypoints, context, request);
    if (status != kOk) {
      return status;
    }
  }
  return kOk;
}

MotionStatus fill_single_chain_waypoints(const DataChecker& checker, const std::string& chain, TargetType type,
                                         const std::vector<std::vector<double>>& waypoints, const PlanContext& context,
                                         proto::MulPointTrajPlanRequest& request) {
  if (!actuate_type_is_valid(context.config.actuate_type)) {
    SDK_LOG(error) << "invalid input";
    return kInvalid;
  }
  if (add_chain_waypoints(checker, chain, type, waypoints, context, request) != kOk ||
      set_waypoint_start(checker, context, request) != kOk) {
    return kInvalid;
  }
  if (!context.start_base.empty()) {
    request.mutable_start_state()->mutable_base()->set_map_frame(proto::BASE);
  }
  set_options(true, *request.mutable_options());
  return kOk;
}

MotionStatus fill_multi_chain_waypoints(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                        const PlanContext& context, proto::MulPointTrajPlanRequest& request) {
  SDK_LOG(info) << "move_waypoint_with_multi_chain called.";
  set_options(true, *request.mutable_options());
  for (const auto& [chain, waypoints] : targets) {
    if (add_chain_waypoints(checker, chain, type, waypoints, context, request) != kOk) {
      return kInvalid;
    }
  }
  return targets.empty() ? refuse_no_chain() : set_waypoint_start(checker, context, request);
}

}  // namespace norvik::sdk
