// What World does with targets and controller requests.
#include <algorithm>
#include <cmath>

#include "world/blend.hpp"
#include "world/target_reader.hpp"
#include "world/world.hpp"

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

constexpr const char* kFrameTask = "wbc";
constexpr const char* kAllGroups = "all";
constexpr size_t kMaxRefusals = 32;
constexpr int kPoseController = 0;
constexpr int kTwistController = 1;

void refuse(Refusals& refusals, const std::string& group, const std::string& reason) {
  if (!reason.empty() && refusals.size() < kMaxRefusals) {
    const std::string name = printable_name(group);
    refusals.push_back({name, name + " " + reason});
  }
}

double last_effort(const proto::TargetGroupTrajectory& target) {
  if (target.group_commands().empty()) {
    return 0.0;
  }
  const auto& commands = target.group_commands(target.group_commands_size() - 1).joint_commands();
  return commands.empty() ? 0.0 : commands[0].effort();
}

}  // namespace

Refusals World::follow(const proto::TavrinoXTarget& target) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Action> actions;
  Refusals refusals;
  for (const auto& [name, group] : target.target_group_trajectory_map()) {
    refuse(refusals, name, plan_group(name, group, actions));
  }
  for (const auto& [name, task] : target.target_task_trajectory_map()) {
    refuse(refusals, name, plan_task(name, task, actions));
  }
  if (refusals.empty()) {
    for (const Action& action : actions) {
      action();
    }
  }
  return refusals;
}

std::string World::plan_group(const std::string& name, const GroupTarget& target, std::vector<Action>& actions) {
  const GroupModel* group = robot_.find_group(name);
  if (group == nullptr) {
    return "is no group of this robot";
  }
  if (std::string reason = why_not_movable(name); !reason.empty()) {
    return reason;
  }
  if (group->kind == GroupKind::kSuctionCup) {
    return plan_suction_cup(*group, target, actions);
  }
  if (followers_.count(name) == 0) {
    return "takes no joint targets";
  }
  return plan_joints(*group, target, actions);
}

std::string World::plan_joints(const GroupModel& group, const GroupTarget& target, std::vector<Action>& actions) {
  GroupFollower& follower = followers_.at(group.name);
  Motion motion;
  if (std::string reason = read_group_motion(group, follower.commanded(), target, motion); !reason.empty()) {
    return reason;
  }
  if (!follower.has_room_for(motion)) {
    return "has too many waypoints waiting";
  }
  const Controller& controller = controllers_.at(group.name);
  if (controller.active != nullptr && controller.active->bypass) {
    motion.blend = direct_pass();
  }
  const double effort = last_effort(target);
  actions.emplace_back([this, &follower, name = group.name, effort, motion = std::move(motion)] {
    follower.accept(motion);
    gripper_efforts_[name] = effort;
  });
  return "";
}

std::string World::plan_suction_cup(const GroupModel& group, const GroupTarget& target, std::vector<Action>& actions) {
  Motion motion;
  if (std::string reason = read_group_motion(group, {0.0}, target, motion); !reason.empty()) {
    return reason;
  }
  if (!motion.waypoints.empty()) {
    const bool on = motion.waypoints.back().positions[0] >= 0.5;
    actions.emplace_back([&cup = suction_cups_.at(group.name), on] { cup.on = on; });
  }
  return "";
}

std::string World::plan_task(const std::string& name, const TaskTarget& target, std::vector<Action>& actions) {
  if (name == robot_.chassis_group) {
    const std::string reason = why_not_movable(name);
    return reason.empty() ? plan_chassis(target, actions) : reason;
  }
  return name == kFrameTask ? plan_frames(target, actions) : "is no task of this robot";
}

std::string World::plan_chassis(const TaskTarget& target, std::vector<Action>& actions) {
  const int32_t data = target.target_config().target_data();
  if (target.target_config().target_type() == proto::TARGET_TYPE_CLEAR) {
    actions.emplace_back([this] { chassis_.stop(); });
    return "";
  }
  switch (data) {
    case proto::TARGET_DATA_FRAME_TWIST:
      return plan_chassis_twist(target, actions);
    case proto::TARGET_DATA_FRAME_POSE:
      return plan_chassis_pose(target, actions);
    default:
      return "has target_data " + std::to_string(data) + ", expected a pose or a twist";
  }
}

std::string World::plan_chassis_pose(const TaskTarget& target, std::vector<Action>& actions) {
  if (!is_active_controller(robot_.chassis_group, kPoseController)) {
    return "got a pose, but its pose controller is not active";
  }
  Motion motion;
  if (std::string reason = read_chassis_poses(chassis_.pose(), localisation_.origin(), target, motion);
      !reason.empty()) {
    return reason;
  }
  if (!chassis_.has_room_for(motion)) {
    return "has too many waypoints waiting";
  }
  actions.emplace_back([this, motion = std::move(motion)] { chassis_.go_to(motion); });
  return "";
}

std::string World::plan_chassis_twist(const TaskTarget& target, std::vector<Action>& actions) {
  if (!is_active_controller(robot_.chassis_group, kTwistController)) {
    return "got a twist, but its twist controller is not active";
  }
  Motion identity;
  PlanarTwist twist;
  double time_s = 0.0;
  std::string reason = read_target_config(target.target_config(), identity);
  if (reason.empty()) {
    reason = read_chassis_twist(target, twist, time_s);
  }
  if (reason.empty()) {
    actions.emplace_back([this, twist, time_s, identity] { chassis_.keep_twist(twist, time_s, identity); });
  }
  return reason;
}

std::string World::plan_frames(const TaskTarget& target, std::vector<Action>& actions) {
  Motion motion;
  std::vector<FrameTarget> frames;
  double duration_s = 0.0;
  std::string reason = read_target_config(target.target_config(), motion);
  if (reason.empty()) {
    reason = read_frame_targets(target, frames, duration_s);
  }
  if (!reason.empty()) {
    return reason;
  }
  actions.emplace_back([this, motion] {
    for (const std::string& group : std::exchange(wbc_groups_, {})) {
      followers_.at(group).stop();
    }
    wbc_progress_.target_id = motion.target_id;
    wbc_progress_.target_sec = motion.target_sec;
    wbc_progress_.target_nanosec = motion.target_nanosec;
  });
  for (const FrameTarget& frame : frames) {
    reason = plan_frame(frame, motion, duration_s, actions);
    if (!reason.empty()) {
      return reason;
    }
  }
  return "";
}

std::string World::plan_frame(const FrameTarget& frame, Motion motion, double duration_s,
                              std::vector<Action>& actions) {
  const auto reference = reference_pose(frame.reference);
  if (!reference) {
    return "has unknown reference frame " + printable_name(frame.reference);
  }
  if (!kinematics_.has_link(frame.frame)) {
    return "has unknown frame " + printable_name(frame.frame);
  }
  if (followers_.count(kinematics_.moving_group(frame.frame)) == 0) {
    return "has frame " + printable_name(frame.frame) + ", which no joint that takes targets moves";
  }
  const auto& q = frame.orientation;
  const auto& p = frame.position;
  const KDL::Frame pose(KDL::Rotation::Quaternion(q[0], q[1], q[2], q[3]), KDL::Vector(p[0], p[1], p[2]));
  const auto solution = kinematics_.solve(frame.frame, *reference * pose, positions());
  if (!solution) {
    return "has a pose out of reach for frame " + printable_name(frame.frame);
  }
  if (std::string reason = why_not_movable(solution->group); !reason.empty()) {
    return "moves " + solution->group + ", which " + reason;
  }
  const GroupModel& group = *robot_.find_group(solution->group);
  GroupFollower& follower = followers_.at(group.name);
  Waypoint waypoint{duration_s, follower.commanded(), std::vector<double>(group.joints.size(), 0.0)};
  for (size_t i = 0; i < solution->joints.size(); ++i) {
    const auto joint = std::find(group.joints.begin(), group.joints.end(), solution->joints[i]);
    waypoint.positions[static_cast<size_t>(joint - group.joints.begin())] = solution->positions[i];
  }
  motion.waypoints = {waypoint};
  actions.emplace_back([this, &follower, name = group.name, motion = std::move(motion)] {
    follower.accept(motion);
    wbc_groups_.push_back(name);
  });
  return "";
}

// In the root link. The world is the frame that odometry started in.
std::optional<KDL::Frame> World::reference_pose(const std::string& frame) const {
  if (frame == "world" || frame == "odom" || frame == "map") {
    const PlanarPose base = frame == "map" ? localisation_.believed(chassis_.pose()) : chassis_.pose();
    return KDL::Frame(KDL::Rotation::RotZ(base.yaw), KDL::Vector(base.x, base.y, 0.0)).Inverse();
  }
  return kinematics_.link_pose(frame, positions());
}

bool World::is_active_controller(const std::string& group, int id) const {
  const ControllerModel* active = controllers_.at(group).active;
  return active != nullptr && active->id == id;
}

Refusals World::control(const proto::TavrinoXController& request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Action> actions;
  Refusals refusals;
  for (const auto& [group, config] : request.ctrl_config_map()) {
    refuse(refusals, group, plan_control(group, config, actions));
  }
  if (refusals.empty()) {
    for (const Action& action : actions) {
      action();
    }
  }
  return refusals;
}

std::string World::plan_control(const std::string& group, const proto::ControllerConfig& config,
                                std::vector<Action>& actions) {
  const GroupModel* model = robot_.find_group(group);
  if (model == nullptr && group != kAllGroups) {
    return "is no group of this robot";
  }
  const proto::ControllerOption option = config.ctrl_option();
  if (option == proto::CONTROLLER_OPTIONS_NONE || !proto::ControllerOption_IsValid(option)) {
    return "has controller option " + std::to_string(option) + ", which does not exist";
  }
  if (option == proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH) {
    return plan_switch(group, config.ctrl_id(), actions);
  }
  actions.emplace_back([this, model, option] {
    for (const GroupModel& each : robot_.groups) {
      if (model == nullptr || model == &each) {
        control_group(each, option);
      }
    }
  });
  return "";
}

std::string World::plan_switch(const std::string& group, int id, std::vector<Action>& actions) {
  for (const ControllerModel& controller : robot_.controllers) {
    if (controller.group != group || controller.id != id) {
      continue;
    }
    actions.emplace_back([this, &controller] {
      Controller& current = controllers_.at(controller.group);
      if (current.active != &controller) {
        stop_group(*robot_.find_group(controller.group));
      }
      current = {&controller, false};
    });
    return "";
  }
  return "has no controller " + std::to_string(id);
}

void World::control_group(const GroupModel& group, proto::ControllerOption option) {
  Controller& controller = controllers_.at(group.name);
  switch (option) {
    case proto::CONTROLLER_OPTIONS_HARD_EMERGENCY_STOP:
    case proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_STOP:
      emergency_stop_ = true;
      stop_all();
      break;
    case proto::CONTROLLER_OPTIONS_HARD_EMERGENCY_RESUME:
    case proto::CONTROLLER_OPTIONS_SOFT_EMERGENCY_RESUME:
      emergency_stop_ = false;
      break;
    case proto::CONTROLLER_OPTIONS_CONTROLER_RELEASE:
      controller.released = true;
      stop_group(group);
      break;
    case proto::CONTROLLER_OPTIONS_CONTROLER_STOP:
      stop_group(group);
      break;
    case proto::CONTROLLER_OPTIONS_CONTROLER_RELOAD:
      stop_group(group);
      controller.released = false;
      break;
    default:  // Start.
      controller.released = false;
      break;
  }
}

}  // namespace norvik::simulator
