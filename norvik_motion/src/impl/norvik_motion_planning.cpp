// Planning: to one target, along waypoints, along lines, with one chain or several.

#include <algorithm>
#include <utility>

#include "impl/norvik_motion_base.hpp"
#include "impl/parameter_access.hpp"
#include "impl/replies/task_results.hpp"
#include "impl/requests/argument_checks.hpp"
#include "impl/requests/proto_conversion.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using PlanResult = NorvikMotion::PlanResult;

PlanResult failed(MotionStatus status) { return {status, {}}; }

PlanResult refused() { return failed(MotionStatus::INVALID_INPUT); }

// What a target asks for; nothing for one that is empty or no target.
struct TargetView {
  TargetType type;
  std::string reference_frame;
  std::vector<double> values;
};

std::optional<TargetView> view_target(const std::shared_ptr<RobotStates>& target) {
  const auto pose = std::dynamic_pointer_cast<PoseState>(target);
  if (pose && pose->get_type() == kPoseKind) {
    return TargetView{TargetType::kPose, pose->reference_frame, convert_pose_to_vec(pose->pose)};
  }
  const auto joints = std::dynamic_pointer_cast<JointStates>(target);
  if (joints && joints->get_type() == kJointKind) {
    return TargetView{TargetType::kJoint, "world", joints->joint_positions};
  }
  SDK_LOG(error) << "target must not be nullptr, should be PoseType or JointStates type.";
  return std::nullopt;
}

// The chains and the waypoints of a plan for several chains.
struct MultiTarget {
  TargetType type = TargetType::kJoint;
  std::string reference_frame = "world";
  ChainWaypoints waypoints;
};

bool check_same_type(const std::map<std::shared_ptr<RobotStates>, NorvikMotion::Waypoints>& targets) {
  if (std::any_of(targets.begin(), targets.end(), [](const auto& entry) { return !entry.first; })) {
    return view_target(nullptr).has_value();  // False, with its text.
  }
  const bool same = std::all_of(targets.begin(), targets.end(), [&](const auto& entry) {
    return entry.first->get_type() == targets.begin()->first->get_type();
  });
  if (!same) {
    SDK_LOG(error) << "all target type must be same.";
  }
  return same;
}

std::optional<MultiTarget> view_targets(
    const std::map<std::shared_ptr<RobotStates>, NorvikMotion::Waypoints>& targets) {
  MultiTarget multi;
  for (const auto& [target, waypoints] : targets) {
    const auto view = view_target(target);
    if (!view) {
      return std::nullopt;
    }
    if (!multi.waypoints.empty() && view->reference_frame != multi.reference_frame) {
      SDK_LOG(error) << "all target reference_frame must be same.";
      return std::nullopt;
    }
    multi.type = view->type;
    multi.reference_frame = view->reference_frame;
    if (!multi.waypoints.emplace(target->chain, waypoints).second) {
      SDK_LOG(error) << "chain " << target->chain << " is named by two targets.";
      return std::nullopt;
    }
  }
  return multi;
}

}  // namespace

// Where a plan starts.

MotionStatus NorvikMotionBase::get_reference_robot_state(const std::shared_ptr<RobotStates>& reference,
                                                         const std::shared_ptr<RobotStates>& start,
                                                         const std::string& chain, PlanContext& context) {
  if (reference || !start) {
    return get_reference_robot_state(reference, std::vector<std::shared_ptr<RobotStates>>{}, context);
  }
  auto placed = start;
  if (const auto joints = as_joint_states(start)) {
    const auto of_chain = std::make_shared<JointStates>(*joints);
    of_chain->chain = chain;
    placed = of_chain;
  }
  return get_reference_robot_state(reference, std::vector<std::shared_ptr<RobotStates>>{placed}, context);
}

MotionStatus NorvikMotionBase::get_reference_robot_state(const std::shared_ptr<RobotStates>& reference,
                                                         const std::vector<std::shared_ptr<RobotStates>>& starts,
                                                         PlanContext& context) {
  if (!check_reference(reference)) {
    return MotionStatus::INVALID_INPUT;
  }
  if (reference) {
    context.start_joints = reference->whole_body_joint;
    context.start_base = reference->base_state;
    return MotionStatus::SUCCESS;
  }
  if (starts.empty()) {
    return MotionStatus::SUCCESS;
  }
  context.start_joints = get_whole_body_joint_state();
  if (context.start_joints.empty()) {
    return MotionStatus::DATA_FETCH_FAILED;
  }
  context.start_base = get_base_state();
  for (const auto& start : starts) {
    const auto joints = as_joint_states(start);
    if (joints && !replace_joint_state(joints->chain, joints->joint_positions, context.start_joints)) {
      return MotionStatus::INVALID_INPUT;
    }
  }
  return MotionStatus::SUCCESS;
}

// One request each.

NorvikMotion::PlanResult NorvikMotionBase::run_plan(const PlanRequest& request, const PlannerConfig& config) {
  const auto [status, last] = execute_plan_request(request, config.timeout);
  return status == MotionStatus::SUCCESS ? parse_plan_result(last) : failed(status);
}

template <typename Fill>
NorvikMotion::PlanResult NorvikMotionBase::build_and_run(const char* task_prefix, const PlannerConfig& config,
                                                         Fill fill) {
  PlanRequest request = make_request(task_prefix);
  request.mutable_immediate_execute()->set_value(config.immediate_execute);
  const MotionStatus status = fill(*data_checker(), request);
  return status == MotionStatus::SUCCESS ? run_plan(request, config) : failed(status);
}

NorvikMotion::PlanResult NorvikMotionBase::plan_single_chain_path(const std::string& chain, TargetType type,
                                                                  const std::vector<double>& target,
                                                                  const PlanContext& context) {
  return build_and_run("single_chain_plan", context.config, [&](const DataChecker& checker, PlanRequest& request) {
    return fill_single_chain_path(checker, chain, type, target, context, *request.mutable_motion_plan_req());
  });
}

NorvikMotion::PlanResult NorvikMotionBase::plan_multi_chain_path(const ChainWaypoints& targets, TargetType type,
                                                                 const PlanContext& context) {
  return build_and_run("single_chain_plan", context.config, [&](const DataChecker& checker, PlanRequest& request) {
    return fill_multi_chain_path(checker, targets, type, context, *request.mutable_motion_plan_req());
  });
}

NorvikMotion::PlanResult NorvikMotionBase::plan_move_line(const std::string& chain, TargetType type,
                                                          const std::vector<double>& target,
                                                          const PlanContext& context) {
  return build_and_run("move_line", context.config, [&](const DataChecker& checker, PlanRequest& request) {
    return create_motion_data(checker, chain, type, target, context, *request.mutable_move_line());
  });
}

NorvikMotion::PlanResult NorvikMotionBase::plan_move_line(const ChainWaypoints& targets, TargetType type,
                                                          const PlanContext& context) {
  return build_and_run("move_line", context.config, [&](const DataChecker& checker, PlanRequest& request) {
    return fill_multi_chain_line(checker, targets, type, context, *request.mutable_move_line());
  });
}

NorvikMotion::PlanResult NorvikMotionBase::move_waypoint_with_single_chain(const std::string& chain, TargetType type,
                                                                           const Waypoints& waypoints,
                                                                           const PlanContext& context) {
  return build_and_run(
      "move_waypoint_with_single_chain", context.config, [&](const DataChecker& checker, PlanRequest& request) {
        return fill_single_chain_waypoints(checker, chain, type, waypoints, context, *request.mutable_mul_point_req());
      });
}

// Shares its prefix with the form for one chain.
NorvikMotion::PlanResult NorvikMotionBase::move_waypoint_with_multi_chain(const ChainWaypoints& targets,
                                                                          TargetType type, const PlanContext& context) {
  return build_and_run(
      "move_waypoint_with_single_chain", context.config, [&](const DataChecker& checker, PlanRequest& request) {
        return fill_multi_chain_waypoints(checker, targets, type, context, *request.mutable_mul_point_req());
      });
}

// Public operations.

NorvikMotion::PlanResult NorvikMotionBase::motion_plan(std::shared_ptr<RobotStates> target,
                                                       std::shared_ptr<RobotStates> start,
                                                       std::shared_ptr<RobotStates> reference, bool plan_path,
                                                       std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return failed(MotionStatus::INIT_FAILED);
  }
  if (start && start->get_type() != kJointKind) {
    SDK_LOG(error) << "invalid [start] type, current version only support JOINT type, for chain joint state.";
    return refused();
  }
  if (!check_reference(reference)) {
    return refused();
  }
  const auto view = view_target(target);
  const auto config = view ? read_parameter(parameter, "motion_plan") : std::nullopt;
  if (!config || !check_timeout(config->timeout)) {
    return refused();
  }
  write_plan_path(*parameter, plan_path);
  PlanContext context{view->reference_frame, {}, {}, *config};
  context.config.plan_path = plan_path;
  if (!config->immediate_execute) {
    const MotionStatus status = get_reference_robot_state(reference, start, target->chain, context);
    if (status != MotionStatus::SUCCESS) {
      return failed(status);
    }
  }
  if (config->move_line) {
    return plan_move_line(target->chain, view->type, view->values, context);
  }
  return plan_path ? plan_single_chain_path(target->chain, view->type, view->values, context)
                   : move_waypoint_with_single_chain(target->chain, view->type, {view->values}, context);
}

NorvikMotion::PlanResult NorvikMotionBase::motion_plan_multi_waypoints(
    std::shared_ptr<RobotStates> target, const Waypoints& waypoints, std::shared_ptr<RobotStates> start,
    std::shared_ptr<RobotStates> reference, bool plan_path, std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return failed(MotionStatus::INIT_FAILED);
  }
  const auto config = read_parameter(parameter, "motion_plan_multi_waypoints");
  if (!config || !check_timeout(config->timeout)) {
    return refused();
  }
  PlanContext context{"world", {}, {}, *config};
  const bool needs_target = start && !reference;  // The start is that of the target's chain.
  if (!config->immediate_execute && (target || !needs_target)) {
    const std::string chain = target ? target->chain : std::string();
    const MotionStatus status = get_reference_robot_state(reference, start, chain, context);
    if (status != MotionStatus::SUCCESS) {
      return failed(status);
    }
  }
  const auto view = view_target(target);
  if (!view) {
    return refused();
  }
  SDK_LOG(info) << "chain: " << target->chain << ", type: " << static_cast<int>(view->type);
  write_plan_path(*parameter, plan_path);
  context.config.plan_path = plan_path;
  context.reference_frame = view->reference_frame;
  return plan_waypoints(target->chain, view->type, waypoints, context);
}

NorvikMotion::PlanResult NorvikMotionBase::plan_waypoints(const std::string& chain, TargetType type,
                                                          const Waypoints& waypoints, const PlanContext& context) {
  if (context.config.move_line) {
    if (waypoints.size() == 1) {
      return plan_move_line(chain, type, waypoints.front(), context);
    }
    SDK_LOG(info) << "plan_move_line only support waypoint size > 1, will be supported in future.";
    return refused();
  }
  if (!context.config.plan_path) {
    return move_waypoint_with_single_chain(chain, type, waypoints, context);
  }
  if (waypoints.size() == 1) {
    return plan_single_chain_path(chain, type, waypoints.front(), context);
  }
  SDK_LOG(info) << "plan_single_chain only support waypoint size = 1, will be supported in future.";
  return refused();
}

NorvikMotion::PlanResult NorvikMotionBase::motion_plan_multi_waypoints(
    const std::map<std::shared_ptr<RobotStates>, Waypoints>& targets,
    const std::vector<std::shared_ptr<RobotStates>>& starts, std::shared_ptr<RobotStates> reference, bool plan_path,
    std::shared_ptr<Parameter> parameter) {
  if (!is_valid_or_log()) {
    return failed(MotionStatus::INIT_FAILED);
  }
  const auto config = read_parameter(parameter, "motion_plan_multi_waypoints");
  if (!config || !check_timeout(config->timeout)) {
    return refused();
  }
  PlanContext context{"world", {}, {}, *config};
  if (!config->immediate_execute) {
    const MotionStatus status = get_reference_robot_state(reference, starts, context);
    if (status != MotionStatus::SUCCESS) {
      return failed(status);
    }
  }
  if (!check_same_type(targets)) {
    return refused();
  }
  write_plan_path(*parameter, plan_path);
  context.config.plan_path = plan_path;
  const auto multi = view_targets(targets);
  if (!multi) {
    return refused();
  }
  context.reference_frame = multi->reference_frame;
  if (config->move_line) {
    return plan_move_line(multi->waypoints, multi->type, context);
  }
  return plan_path ? plan_multi_chain_path(multi->waypoints, multi->type, context)
                   : move_waypoint_with_multi_chain(multi->waypoints, multi->type, context);
}

}  // namespace norvik::sdk
