#include "navigation/navigator.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace norvik::simulator {

namespace {

constexpr double kResolution = 0.05;          // m
constexpr double kLeastClearance = 0.01;      // m; nearer it does not go to what it can see
constexpr double kOfVelocity = 0.999;         // of the limit: a ramp in steps goes 0.02 % beyond where it is to end
constexpr double kLongestWait = 3.0;          // s for something in the way to leave
constexpr double kSearchPause = 0.5;          // s between searches while it waits
constexpr double kMostDeviation = 0.4;        // m beside the way before it looks for another
constexpr double kLeaving = 0.3;              // m in which it may leave what it touched
constexpr double kChassisAcceleration = 4.0;  // m/s², what the base itself can do
constexpr double kChassisTurn = 8.0;          // rad/s²

double between(const PlanarPose& a, const PlanarPose& b) { return std::hypot(a.x - b.x, a.y - b.y); }

bool is_at_rest(const PlanarTwist& twist) { return twist.vx == 0.0 && twist.vy == 0.0 && twist.wz == 0.0; }

bool needs_map(const Task& task) {
  return std::any_of(task.targets.begin(), task.targets.end(), [](const Target& each) { return !each.in_base_frame; });
}

Route straight_route(const PlanarPose& from, const std::vector<PlanarPose>& goals, Facing facing) {
  Leg leg{{{from.x, from.y}}, facing, goals.back().yaw};
  for (const PlanarPose& goal : goals) {
    leg.points.push_back({goal.x, goal.y});
  }
  return {leg};
}

}  // namespace

std::string Navigator::start(Task task, const Moment& moment) {
  if (task.kind == Task::Kind::kVelocity ? !(task.duration > 0.0) : task.targets.empty()) {
    return "has nothing to drive";
  }
  if (needs_map(task) && !moment.localised) {
    return "the robot is not localised";
  }
  const PlanarTwist twist = phase_ == Phase::kIdle ? moment.twist : follower_.twist();
  if (is_running()) {
    end(TaskStatus::kInterrupted, "replaced by " + task.id);
  }
  if (phase_ == Phase::kIdle) {
    follower_.take_over(twist);
  }
  task_ = std::move(task);
  goals_.clear();
  for (const Target& each : task_.targets) {
    goals_.push_back(each.in_base_frame ? compose(moment.believed, each.pose) : each.pose);
  }
  target_ = 0;
  begun_ = moment.time;
  blocked_at_ = {1e9, 1e9, 0.0};
  hit_ = false;
  touched_at_ = moment.truth;
  touching_ = clearance(outline_, moment.truth, obstacles_.solid(moment.time), kResolution) <= 0.0;
  phase_ = task_.kind == Task::Kind::kVelocity ? Phase::kVelocity : Phase::kPlanning;
  reports_.push_back({task_.id, TaskStatus::kRunning, "running"});
  return "";
}

void Navigator::end(TaskStatus status, const std::string& message) {
  if (!is_running()) {
    return;
  }
  reports_.push_back({task_.id, status, message});
  phase_ = Phase::kBraking;
}

void Navigator::lose_base(const std::string& reason) {
  end(TaskStatus::kFailed, "the base " + reason);
  follower_.take_over({});
  phase_ = Phase::kIdle;
}

std::vector<Report> Navigator::take_reports() { return std::exchange(reports_, {}); }

bool Navigator::step(const Moment& moment, double dt, PlanarTwist& twist) {
  if (phase_ == Phase::kIdle) {
    return false;
  }
  if (is_running()) {
    decide(moment);
  }
  move(moment, dt);
  twist = follower_.twist();
  return true;
}

void Navigator::decide(const Moment& moment) {
  if (bumps(moment)) {
    hit_ = true;
    end(TaskStatus::kCollision, "ran into something");
    return follower_.take_over({});
  }
  if (is_too_late(moment)) {
    return end(TaskStatus::kFailed, "not there in time");
  }
  if (needs_map(task_) && !moment.localised) {
    return end(TaskStatus::kFailed, "the robot is not localised any more");
  }
  switch (phase_) {
    case Phase::kPlanning:
      return begin_driving(moment);
    case Phase::kDriving:
      return look_ahead(moment);
    case Phase::kBlocked:
      return wait_for_way(moment);
    default:
      return keep_velocity(moment);
  }
}

// The one place where the base's speed changes, once a step: so the limits hold whatever happens.
void Navigator::move(const Moment& moment, double dt) {
  if (phase_ == Phase::kDriving && !follower_.is_at_end()) {
    follower_.step(moment.believed, dt);
  } else if (phase_ == Phase::kVelocity && moment.time - begun_ < task_.duration) {
    follower_.hold(task_.twist, dt);
  } else if (is_at_rest(follower_.hold({}, dt)) && phase_ == Phase::kBraking) {
    phase_ = Phase::kIdle;
  }
}

PathFinder Navigator::make_finder(std::vector<Shape> shapes) const {
  OccupancyGrid grid = obstacles_.map();
  for (size_t i = obstacles_.standing().size(); i < shapes.size(); ++i) {
    grid.mark(shapes[i]);
  }
  return {std::move(grid), std::move(shapes), outline_};
}

Navigator::Evaluation Navigator::evaluate(const PlanarPose& start, const PlanarPose& goal) const {
  const PathFinder finder = make_finder(obstacles_.lasting());
  const Evaluation evaluation = {!finder.touches(start), !finder.touches(goal), false};
  const bool has_way = evaluation.start_is_free && evaluation.goal_is_free &&
                       finder.find(start, goal, Facing::kAhead).result == Search::Result::kFound;
  return {evaluation.start_is_free, evaluation.goal_is_free, has_way};
}

Search Navigator::plan(const Moment& moment) const {
  const Facing facing = target().omni ? Facing::kTurning : Facing::kAhead;
  if (task_.kind == Task::Kind::kGoals && task_.check_collision) {
    return make_finder(obstacles_.lasting()).find(moment.believed, goal(), facing);
  }
  const bool whole = task_.kind == Task::Kind::kTrajectory;
  Search search{Search::Result::kFound,
                straight_route(moment.believed, whole ? goals_ : std::vector<PlanarPose>{goal()}, facing)};
  if (task_.check_collision && !make_finder(obstacles_.present(moment.time)).is_clear(moment.believed, search.route)) {
    search.result = Search::Result::kNoWay;
  }
  return search;
}

MotionLimits Navigator::limits_of(const Target& target) const {
  MotionLimits limits = scaled(settings_.limits, target.scales);
  for (size_t i = 0; i < 3; ++i) {
    limits.velocity[i] *= kOfVelocity;
    limits.acceleration[i] = std::min(limits.acceleration[i], i < 2 ? kChassisAcceleration : kChassisTurn);
  }
  return limits;
}

void Navigator::begin_driving(const Moment& moment) {
  Search search = plan(moment);
  planned_ = moment.time;
  switch (search.result) {
    case Search::Result::kGoalOccupied:
      return end(TaskStatus::kOccupied, "the goal lies in an obstacle");
    case Search::Result::kNoWay:
      return end(TaskStatus::kFailed, "no way to the goal");
    default:
      break;
  }
  if (task_.kind == Task::Kind::kTrajectory) {
    target_ = task_.targets.size() - 1;
  }
  follower_.follow(std::move(search.route), moment.believed, limits_of(target()));
  phase_ = Phase::kDriving;
}

void Navigator::look_ahead(const Moment& moment) {
  follower_.set_limits(limits_of(target()));
  if (is_blocked(moment)) {
    if (between(blocked_at_, moment.truth) > kLeaving || moment.time - blocked_since_ > 2.0 * kLongestWait) {
      blocked_at_ = moment.truth;
      blocked_since_ = moment.time;
    }
    phase_ = Phase::kBlocked;
  } else if (follower_.deviation(moment.believed) > kMostDeviation) {
    phase_ = Phase::kPlanning;  // Pushed, or told that it is elsewhere.
  } else {
    look_at_goal(moment);
  }
}

void Navigator::look_at_goal(const Moment& moment) {
  const bool last = target_ + 1 == task_.targets.size();
  if (!last && is_arrived(moment)) {
    ++target_;
    return begin_driving(moment);
  }
  if (!follower_.is_at_end() || !is_at_rest(follower_.twist())) {
    return;
  }
  if (is_arrived(moment)) {
    end(TaskStatus::kSuccess, "arrived");
  } else if (moment.time - planned_ > kSearchPause) {
    begin_driving(moment);
  }
}

void Navigator::wait_for_way(const Moment& moment) {
  if (moment.time - blocked_since_ > kLongestWait) {
    return end(TaskStatus::kCloseToObstacle, "something is in the way");
  }
  if (!is_at_rest(follower_.twist())) {
    return;
  }
  if (target_ + 1 == task_.targets.size() && is_arrived(moment)) {
    return end(TaskStatus::kSuccess, "arrived");  // Near enough, with something beside the goal.
  }
  if (moment.time - planned_ < kSearchPause) {
    return;
  }
  planned_ = moment.time;
  Search search = plan(moment);
  if (search.result == Search::Result::kFound) {
    follower_.follow(std::move(search.route), moment.believed, limits_of(target()));
    phase_ = Phase::kDriving;
  }
}

void Navigator::keep_velocity(const Moment& moment) {
  follower_.set_limits(limits_of(Target{}));
  if (is_blocked(moment)) {
    end(TaskStatus::kCloseToObstacle, "something is in the way");
  } else if (moment.time - begun_ >= task_.duration && is_at_rest(follower_.twist())) {
    end(TaskStatus::kSuccess, "driven");
  }
}

bool Navigator::is_arrived(const Moment& moment) const {
  const Threshold threshold = target().threshold.value_or(settings_.threshold);
  const PlanarPose error = compose(inverse(goal()), moment.believed);
  return std::abs(error.x) <= threshold[0] && std::abs(error.y) <= threshold[1] &&
         std::abs(wrap_angle(error.yaw)) <= threshold[2];
}

// What it sees lies where it really is. A way out of something that is too near already stays open.
bool Navigator::is_blocked(const Moment& moment) const {
  if (!task_.check_collision) {
    return false;
  }
  const std::vector<Shape> shapes = obstacles_.present(moment.time);
  const double now = clearance(outline_, moment.truth, shapes, kLeastClearance);
  const auto poses = follower_.poses_until_stop(moment.truth);
  return std::any_of(poses.begin(), poses.end(), [&](const PlanarPose& pose) {
    const double then = clearance(outline_, pose, shapes, kLeastClearance);
    return then < kLeastClearance && then <= now && (now > 0.0 || between(pose, touched_at_) > kLeaving);
  });
}

bool Navigator::bumps(const Moment& moment) {
  const bool touches = clearance(outline_, moment.truth, obstacles_.solid(moment.time), kResolution) <= 0.0;
  touching_ = touching_ && touches && between(moment.truth, touched_at_) < kLeaving;
  return touches && !touching_;
}

bool Navigator::is_too_late(const Moment& moment) const {
  const double timeout = task_.timeout.value_or(settings_.timeout);
  return task_.kind != Task::Kind::kVelocity && timeout > 0.0 && moment.time - begun_ > timeout;
}

}  // namespace norvik::simulator
