#include "world/world.hpp"

#include <algorithm>
#include <cmath>

#include "world/blend.hpp"
#include "world/surroundings.hpp"

namespace norvik::simulator {

namespace {

namespace proto = norvik::tavrinox_proto;

constexpr double kVacuum = -60.0;     // kPa
constexpr double kLeak = -5.0;        // kPa; all that a cup reaches that touches nothing
constexpr double kPumpSpeed = 150.0;  // kPa/s
constexpr double kRefusalSeconds = 1.0;
constexpr size_t kMaxRefusals = 32;

bool is_fatal(int32_t code) { return code < 0 || code >= kFatalErrorCode; }

const std::vector<std::string>& chassis_wheels(const RobotModel& robot) {
  return robot.find_group(robot.chassis_group)->joints;
}

bool follows_positions(GroupKind kind) {
  return kind == GroupKind::kBody || kind == GroupKind::kGripper || kind == GroupKind::kHand;
}

std::vector<JointLimits> limits_of(const GroupModel& group, const RobotModel& robot, const Kinematics& kinematics) {
  std::vector<JointLimits> limits;
  for (const std::string& joint : group.joints) {
    limits.push_back(kinematics.limits(joint).value_or(robot.hand_limits));
  }
  return limits;
}

// Where a joint is after start-up: upright, hands and grippers open half.
std::vector<double> rest_positions(const GroupModel& group, const std::vector<JointLimits>& limits) {
  std::vector<double> positions;
  positions.reserve(limits.size());
  for (const JointLimits& limit : limits) {
    positions.push_back(group.kind == GroupKind::kGripper ? (limit.lower + limit.upper) / 2.0 : 0.0);
  }
  return positions;
}

// The link that a gripper or a suction cup takes hold with; empty for other groups.
std::string hand_link(const GroupModel& group, const Kinematics& kinematics) {
  if (group.kind == GroupKind::kGripper) {
    return kinematics.link_of(group.joints[0]);
  }
  const std::string lip = group.name + "_link";
  return group.kind == GroupKind::kSuctionCup && kinematics.has_link(lip) ? lip : "";
}

// What things stand on.
std::vector<Block> surfaces() {
  std::vector<Block> blocks;
  for (const SceneBox& box : surroundings()) {
    if (!box.slides()) {
      blocks.push_back({box.centre, box.size});
    }
  }
  return blocks;
}

}  // namespace

JointPositions WorldState::positions() const {
  JointPositions result;
  for (const GroupState& group : groups) {
    for (size_t i = 0; i < group.joint_names.size(); ++i) {
      result[group.joint_names[i]] = group.joints[i].position;
    }
  }
  return result;
}

bool WorldState::is_at_rest() const {
  for (const GroupState& group : groups) {
    for (const JointMotion& joint : group.joints) {
      if (joint.velocity != 0.0) {
        return false;
      }
    }
  }
  return base_twist.vx == 0.0 && base_twist.vy == 0.0 && base_twist.wz == 0.0;
}

World::World(RobotModel robot, Kinematics kinematics, uint64_t seed)
    : robot_(std::move(robot)),
      kinematics_(std::move(kinematics)),
      chassis_(chassis_wheels(robot_)),
      things_(make_things(seed), surfaces()) {
  for (const GroupModel& group : robot_.groups) {
    if (follows_positions(group.kind)) {
      const auto limits = limits_of(group, robot_, kinematics_);
      followers_.emplace(group.name, GroupFollower(limits, rest_positions(group, limits)));
    } else if (group.kind == GroupKind::kSuctionCup) {
      suction_cups_[group.name] = {};
    }
    controllers_[group.name] = {};
    if (auto link = hand_link(group, kinematics_); !link.empty()) {
      hands_.push_back({&group, std::move(link), std::nullopt});
    }
  }
  for (const ControllerModel& controller : robot_.controllers) {
    Controller& current = controllers_[controller.group];
    current.active = current.active == nullptr ? &controller : current.active;
  }
}

void World::step(double dt) {
  const std::lock_guard<std::mutex> lock(mutex_);
  time_ += dt;
  ++steps_;
  for (auto& [name, follower] : followers_) {
    follower.step(dt);
  }
  chassis_.step(dt);
  step_hands();
  step_suction_cups(dt);
  things_.fall(dt);
  update_wbc_progress();
  drop_old_refusals();
}

void World::step_suction_cups(double dt) {
  for (auto& [name, cup] : suction_cups_) {
    const double wanted = !cup.on ? 0.0 : cup.touches ? kVacuum : kLeak;
    cup.pressure += std::clamp(wanted - cup.pressure, -kPumpSpeed * dt, kPumpSpeed * dt);
  }
}

void World::update_wbc_progress() {
  wbc_progress_.sampling_finished = wbc_progress_.target_finished = true;
  wbc_progress_.percent = 100.0;
  for (const std::string& group : wbc_groups_) {
    const MotionProgress& progress = followers_.at(group).progress();
    wbc_progress_.sampling_finished = wbc_progress_.sampling_finished && progress.sampling_finished;
    wbc_progress_.target_finished = wbc_progress_.target_finished && progress.target_finished;
    wbc_progress_.percent = std::min(wbc_progress_.percent, progress.percent);
  }
}

void World::drop_old_refusals() {
  const auto is_old = [this](const TimedRefusal& refusal) { return refusal.until < time_; };
  refusals_.erase(std::remove_if(refusals_.begin(), refusals_.end(), is_old), refusals_.end());
}

void World::report(const Refusals& refusals) {
  const std::lock_guard<std::mutex> lock(mutex_);
  for (const Refusal& refusal : refusals) {
    if (refusals_.size() < kMaxRefusals) {
      refusals_.push_back({refusal, time_ + kRefusalSeconds});
    }
  }
}

WorldState World::state() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  WorldState state;
  for (const GroupModel& group : robot_.groups) {
    state.groups.push_back(group_state(group));
  }
  state.base_pose = chassis_.pose();
  state.base_twist = chassis_.twist();
  state.base_truth = localisation_.truth(state.base_pose);
  state.map_from_odom = localisation_.origin();
  state.localisation_score = localisation_.score(state.base_pose);
  state.things = things_.list();
  state.wbc_progress = wbc_progress_;
  state.errors = errors_;
  for (const auto& [group, controller] : controllers_) {
    if (controller.active != nullptr && !controller.released) {
      state.controllers[group] = controller.active->name;
    }
  }
  for (const TimedRefusal& refusal : refusals_) {
    state.refusals.push_back(refusal.refusal);
  }
  state.emergency_stop = emergency_stop_;
  state.steps = steps_;
  return state;
}

std::vector<Thing> World::things() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return things_.list();
}

std::vector<JointMotion> World::joints_of(const GroupModel& group) const {
  if (group.kind == GroupKind::kChassis) {
    return chassis_.wheels();
  }
  if (group.kind == GroupKind::kSuctionCup) {
    JointMotion joint;
    joint.position = suction_cups_.at(group.name).pressure;
    return {joint};
  }
  const auto follower = followers_.find(group.name);
  return follower == followers_.end() ? std::vector<JointMotion>{} : follower->second.joints();
}

GroupState World::group_state(const GroupModel& group) const {
  GroupState state;
  state.name = group.name;
  state.kind = group.kind;
  state.joint_names = group.joints;
  state.joints = joints_of(group);
  if (const auto follower = followers_.find(group.name); follower != followers_.end()) {
    state.progress = follower->second.progress();
    state.final_error = follower->second.final_error();
  } else if (group.kind == GroupKind::kChassis) {
    state.progress = chassis_.progress();
    state.final_error = chassis_.final_error();
  } else if (group.kind == GroupKind::kSuctionCup) {
    const SuctionCup& cup = suction_cups_.at(group.name);
    const SuctionState working = cup.pressure <= kVacuum ? SuctionState::kHolding : SuctionState::kBuildingUp;
    state.suction = cup.on ? working : SuctionState::kOff;
  }
  if (group.kind == GroupKind::kGripper && is_blocked(group.name)) {
    const bool presses = state.joints[0].command_position < state.joints[0].position;
    const auto effort = gripper_efforts_.find(group.name);
    state.effort = presses && effort != gripper_efforts_.end() ? effort->second : 0.0;
  }
  return state;
}

JointPositions World::positions() const {
  JointPositions result;
  for (const auto& [name, follower] : followers_) {
    const GroupModel& group = *robot_.find_group(name);
    for (size_t i = 0; i < group.joints.size(); ++i) {
      result[group.joints[i]] = follower.joints()[i].position;
    }
  }
  return result;
}

std::string World::halt_reason(const std::string& group) const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return why_halted(group);
}

std::string World::why_halted(const std::string& group) const {
  if (emergency_stop_) {
    return "is in emergency stop";
  }
  if (const auto error = errors_.find(group); error != errors_.end() && is_fatal(error->second.code)) {
    return "is in fatal error: " + error->second.description;
  }
  return "";
}

std::string World::why_not_movable(const std::string& group) const {
  if (std::string reason = why_halted(group); !reason.empty()) {
    return reason;
  }
  if (const auto controller = controllers_.find(group);
      controller != controllers_.end() && controller->second.released) {
    return "has no controller, it was released";
  }
  return "";
}

void World::stop_group(const GroupModel& group) {
  if (group.kind == GroupKind::kChassis) {
    chassis_.stop();
  } else if (const auto follower = followers_.find(group.name); follower != followers_.end()) {
    follower->second.stop();
  }
}

void World::stop_all() {
  for (const GroupModel& group : robot_.groups) {
    stop_group(group);
  }
}

bool World::set_error(const std::string& group, int32_t code, const std::string& description) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const GroupModel* model = robot_.find_group(group);
  if (model == nullptr) {
    return false;
  }
  errors_.erase(group);
  if (code != 0) {
    errors_[group] = {code, description};
  }
  if (is_fatal(code)) {
    stop_group(*model);
  }
  return true;
}

std::map<std::string, GroupError> World::errors() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return errors_;
}

GroupFollower* World::find_joint(const std::string& joint, size_t& index) {
  for (auto& [name, follower] : followers_) {
    const auto& joints = robot_.find_group(name)->joints;
    const auto it = std::find(joints.begin(), joints.end(), joint);
    if (it != joints.end()) {
      index = static_cast<size_t>(it - joints.begin());
      return &follower;
    }
  }
  return nullptr;
}

bool World::set_frozen(const std::string& joint, bool frozen) {
  const std::lock_guard<std::mutex> lock(mutex_);
  size_t index = 0;
  GroupFollower* follower = find_joint(joint, index);
  if (follower != nullptr) {
    follower->set_frozen(index, frozen);
  }
  return follower != nullptr;
}

bool World::set_position(const std::string& joint, double position) {
  const std::lock_guard<std::mutex> lock(mutex_);
  size_t index = 0;
  GroupFollower* follower = find_joint(joint, index);
  if (follower == nullptr) {
    return false;
  }
  const JointLimits& limits = follower->limits()[index];
  if (!(position >= limits.lower && position <= limits.upper)) {
    return false;
  }
  std::vector<double> positions;
  for (const JointMotion& motion : follower->joints()) {
    positions.push_back(motion.position);
  }
  positions[index] = position;
  follower->place(positions);
  return true;
}

bool World::set_object(const std::string& group, double width_mm) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const GroupModel* model = robot_.find_group(group);
  const bool takes = model != nullptr && (model->kind == GroupKind::kGripper || model->kind == GroupKind::kSuctionCup);
  if (!takes || !std::isfinite(width_mm)) {
    return false;
  }
  object_widths_.erase(group);
  if (width_mm > 0.0) {
    object_widths_[group] = width_mm;
  }
  return true;
}

void World::push_base(const PlanarPose& displacement) {
  const std::lock_guard<std::mutex> lock(mutex_);
  localisation_.push(chassis_.pose(), displacement);
}

void World::relocalise(const PlanarPose& guess) {
  const std::lock_guard<std::mutex> lock(mutex_);
  localisation_.relocalise(chassis_.pose(), guess);
}

uint64_t World::base_commands() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  return chassis_.commands();
}

std::string World::drive_base(const PlanarTwist& twist, uint64_t commands) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (std::string reason = why_not_movable(robot_.chassis_group); !reason.empty()) {
    return reason;
  }
  if (chassis_.commands() != commands) {
    return "was given another command";
  }
  chassis_.drive(twist);
  return "";
}

void World::stop_base_dead() {
  const std::lock_guard<std::mutex> lock(mutex_);
  chassis_.stop_dead();
}

void World::clear_faults() {
  const std::lock_guard<std::mutex> lock(mutex_);
  errors_.clear();
  refusals_.clear();
  for (auto& [name, follower] : followers_) {
    for (size_t i = 0; i < follower.joints().size(); ++i) {
      follower.set_frozen(i, false);
    }
  }
}

}  // namespace norvik::simulator
