#include "planning/planner.hpp"

#include <algorithm>
#include <cmath>

#include "planning/basis/budget.hpp"
#include "planning/collision/path_check.hpp"
#include "planning/collision/robot_bodies.hpp"
#include "planning/motion/goals.hpp"
#include "planning/motion/line.hpp"
#include "planning/motion/path_timing.hpp"

namespace norvik::simulator::planning {

struct Planner::Impl {
  PlanningModel model;
  RobotBodies bodies;
};

namespace {

double positive(double seconds, double otherwise) {
  return std::isfinite(seconds) && seconds > 0.0 ? seconds : otherwise;
}

// Everything that a request is answered with. What it was made of must outlive it.
struct Job {
  const PlanRequest& request;
  const Settings& settings;
  CollisionWorld world;
  Budget budget;
  GoalContext context;
  std::vector<std::string> chains;  // That may move.
  std::vector<size_t> indices;      // Of their joints.

  Job(const PlanningModel& model, const RobotBodies& bodies, const PlanRequest& asked, const Scene& scene,
      const Settings& set, const Interrupt& interrupt)
      : request(asked),
        settings(set),
        world(model, bodies, scene, set.collision, asked.start.base),
        budget(positive(set.sampler.max_planning_time, 2.0), interrupt),
        context{model, scene, set, &world, asked.start, asked.actuate} {}

  // The first pose target has the help that was asked for, the others their own joints.
  GoalContext context_of(size_t target, bool with_collisions) const {
    GoalContext result = context;
    result.actuate = target == 0 ? request.actuate : Actuate::kChainOnly;
    result.world = with_collisions ? &world : nullptr;
    return result;
  }
};

Outcome check_targets(Job& job, bool single) {
  const PlanRequest& request = job.request;
  if (Outcome checked = job.context.model.check(request.start); !checked) {
    return checked;
  }
  if (request.targets.empty() || request.targets.front().goals.empty()) {
    return {Reason::kInvalidInput, "there is no target"};
  }
  for (size_t i = 0; i < request.targets.size(); ++i) {
    const ChainGoals& target = request.targets[i];
    if (target.goals.size() != request.targets.front().goals.size() || (single && target.goals.size() != 1)) {
      return {Reason::kInvalidInput, target.chain + " has another number of targets than expected"};
    }
    if (std::find(job.chains.begin(), job.chains.end(), target.chain) != job.chains.end()) {
      return {Reason::kInvalidInput, target.chain + " is moved twice"};
    }
    for (const Goal& goal : target.goals) {
      if (Outcome checked = check_goal(job.context_of(i, false), target.chain, goal); !checked) {
        return checked;
      }
    }
    for (const Chain* chain :
         job.context.model.actuated_chains(target.chain, i == 0 ? request.actuate : Actuate::kChainOnly)) {
      job.chains.push_back(chain->name);
    }
    if (job.chains.empty() || job.chains.back() != target.chain) {
      job.chains.push_back(target.chain);  // Joint targets need no help.
    }
  }
  job.indices = job.context.model.joints_of(job.chains);
  return {};
}

Outcome check_start(const Job& job) {
  if (!job.settings.feasibility.disable_joint_limit_check) {
    if (Outcome checked = job.context.model.check_limits(job.request.start.joints, job.indices); !checked) {
      checked.description = "start: " + checked.description;
      return checked;
    }
  }
  const auto contact = job.world.check(job.request.start.joints);
  return contact ? Outcome{Reason::kCollision, "start: " + describe(*contact).description} : Outcome{};
}

// Whole bodies in which all chains are at their goals. The last chain alone is solved with several outcomes.
Solutions solve_targets(const Job& job, size_t waypoint, const Joints& from, size_t wanted, bool with_collisions,
                        const Budget& budget) {
  Solutions solutions{{}, {from}};
  for (size_t i = 0; i < job.request.targets.size() && solutions.outcome; ++i) {
    const ChainGoals& target = job.request.targets[i];
    const bool last = i + 1 == job.request.targets.size();
    solutions = solve_goal(job.context_of(i, with_collisions && last), target.chain, target.goals[waypoint],
                           solutions.joints.front(), last ? wanted : 1, budget);
  }
  return solutions;
}

PlanResult finished(const Job& job, const std::vector<Joints>& corners, double least) {
  const PlanningModel& model = job.context.model;
  Path path = time_path(corners, job.chains, joint_dynamics(model, job.settings),
                        std::max(least, positive(job.settings.timing.min_move_time, 0.0)));
  if (!job.request.check_validity) {
    return {{}, std::move(path)};
  }
  const CollisionWorld world = job.world.moved_by(job.indices);
  Outcome checked = check_path(model, world, path, job.settings, [&] { return job.budget.interrupted(); });
  return checked ? PlanResult{{}, std::move(path)} : PlanResult{std::move(checked), {}};
}

double ik_time(const Settings& settings) { return positive(settings.ik.col_aware_ik_timeout, 1.0); }

}  // namespace

Planner::Planner(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}
Planner::Planner(Planner&&) noexcept = default;
Planner& Planner::operator=(Planner&&) noexcept = default;
Planner::~Planner() = default;

std::optional<Planner> Planner::load(const RobotModel& robot, const std::string& folder, std::string& error) {
  auto model = PlanningModel::load(robot, folder, error);
  auto bodies = model ? RobotBodies::load(*model, error) : std::nullopt;
  if (!bodies) {
    return std::nullopt;
  }
  return Planner(std::make_unique<Impl>(Impl{std::move(*model), std::move(*bodies)}));
}

const PlanningModel& Planner::model() const { return impl_->model; }

FrameResult Planner::forward_kinematics(const std::string& link, const FrameRef& frame, const RobotState& state) const {
  FrameResult reference = frame_pose(impl_->model, frame, state);
  FrameResult pose = frame_pose(impl_->model, FrameRef::link(link), state);
  if (!reference.outcome) {
    return reference;
  }
  pose.pose = reference.pose.Inverse() * pose.pose;
  return pose;
}

Jacobian Planner::jacobian(const std::string& link, const FrameRef& frame, const RobotState& state) const {
  const auto index = impl_->model.link_index(link);
  const auto moving = index ? impl_->model.moving_joint(*index) : std::nullopt;
  const FrameResult reference = frame_pose(impl_->model, frame, state);
  if (!moving || !reference.outcome) {
    return {};
  }
  const auto& chains = impl_->model.chains();
  const auto chain = std::find_if(chains.begin(), chains.end(), [&](const Chain& c) {
    return *moving >= c.indices.front() && *moving <= c.indices.back();
  });
  const auto columns = impl_->model.jacobian(*index, chain->indices, state.joints);
  const KDL::Rotation turned = reference.pose.M.Inverse() * state.base.M;
  Jacobian result{6, columns.size(), std::vector<double>(6 * columns.size())};
  for (size_t column = 0; column < columns.size(); ++column) {
    const KDL::Twist twist = turned * columns[column];
    for (size_t row = 0; row < 6; ++row) {
      result.data[row * columns.size() + column] = twist(static_cast<int>(row));
    }
  }
  return result;
}

IkResult Planner::inverse_kinematics(const IkRequest& request, const Scene& scene, const Settings& settings,
                                     const Interrupt& interrupt) const {
  const PlanningModel& model = impl_->model;
  if (Outcome checked = model.check(request.start); !checked) {
    return {std::move(checked), {}, {}};
  }
  const CollisionWorld world(model, impl_->bodies, scene, settings.collision, request.start.base);
  const bool with_collisions = request.check_collision && settings.ik.enable_collision_check;
  const GoalContext context{model, scene, settings, with_collisions ? &world : nullptr, request.start, request.actuate};
  const Budget budget(ik_time(settings), interrupt);
  Solutions found = solve_goal(context, request.chain, request.target, request.start.joints, 1, budget);
  if (!found.outcome) {
    return {std::move(found.outcome), {}, {}};
  }
  IkResult result{{}, std::move(found.joints.front()), {}};
  for (const Chain* chain : model.actuated_chains(request.chain, request.actuate)) {
    result.moved_chains.push_back(chain->name);
  }
  return result;
}

std::optional<Contact> Planner::check_collision(const RobotState& state, const Scene& scene,
                                                const Settings& settings) const {
  if (!impl_->model.check(state)) {
    return std::nullopt;
  }
  return CollisionWorld(impl_->model, impl_->bodies, scene, settings.collision, state.base).check(state.joints);
}

PlanResult Planner::plan(const PlanRequest& request, const Scene& scene, const Settings& settings,
                         const Interrupt& interrupt) const {
  Job job(impl_->model, impl_->bodies, request, scene, settings, interrupt);
  Outcome checked = check_targets(job, true);
  checked = checked ? check_start(job) : checked;
  if (!checked) {
    return {std::move(checked), {}};
  }
  constexpr size_t kSolutions = 4;
  Solutions goals = solve_targets(job, 0, request.start.joints, kSolutions, true, job.budget.within(ik_time(settings)));
  if (!goals.outcome) {
    return {std::move(goals.outcome), {}};
  }
  for (const Joints& goal : goals.joints) {
    if (const auto contact = job.world.check(goal)) {
      return {{Reason::kCollision, "target: " + describe(*contact).description}, {}};
    }
  }
  const auto corners = search_path(impl_->model, job.world.moved_by(job.indices), request.start.joints, goals.joints,
                                   job.indices, settings, job.budget);
  if (corners.empty()) {
    return {{job.budget.interrupted() ? Reason::kInterrupted : Reason::kNoPath, "no path within the planning time"},
            {}};
  }
  return finished(job, corners, 0.0);
}

PlanResult Planner::plan_line(const PlanRequest& request, const Scene& scene, const Settings& settings,
                              const Interrupt& interrupt) const {
  Job job(impl_->model, impl_->bodies, request, scene, settings, interrupt);
  Outcome checked = check_targets(job, true);
  checked = checked ? check_start(job) : checked;
  if (!checked) {
    return {std::move(checked), {}};
  }
  std::vector<LineGoal> goals;
  for (const ChainGoals& target : request.targets) {
    goals.push_back({target.chain, target.goals.front(), goals.empty() ? request.actuate : Actuate::kChainOnly});
  }
  LineResult line = follow_lines(job.context, goals, job.budget);
  return line.outcome ? finished(job, line.points, 0.0) : PlanResult{std::move(line.outcome), {}};
}

PlanResult Planner::plan_waypoints(const PlanRequest& request, const Scene& scene, const Settings& settings,
                                   const Interrupt& interrupt) const {
  Job job(impl_->model, impl_->bodies, request, scene, settings, interrupt);
  Outcome checked = check_targets(job, false);
  checked = checked ? check_start(job) : checked;
  if (!checked) {
    return {std::move(checked), {}};
  }
  std::vector<Joints> corners{request.start.joints};
  const size_t count = request.targets.front().goals.size();
  for (size_t i = 0; i < count; ++i) {
    Solutions next = solve_targets(job, i, corners.back(), 1, true, job.budget.within(ik_time(settings)));
    if (!next.outcome) {
      next.outcome.description = "waypoint " + std::to_string(i + 1) + ": " + next.outcome.description;
      return {std::move(next.outcome), {}};
    }
    corners.push_back(std::move(next.joints.front()));
  }
  return finished(job, corners,
                  positive(settings.timing.way_point_plan_expected_time, 0.0) * static_cast<double>(count));
}

Outcome Planner::check_path(const Path& path, const KDL::Frame& base, const Scene& scene, const Settings& settings,
                            const Interrupt& interrupt) const {
  if (Outcome checked = check_pose(base); !checked) {
    return checked;
  }
  const CollisionWorld world(impl_->model, impl_->bodies, scene, settings.collision, base);
  return planning::check_path(impl_->model, world, path, settings, interrupt);
}

Path resample(const Path& path, size_t count) {
  const size_t wanted = std::max<size_t>(count, 2);
  if (path.points.size() < 2) {
    return path;
  }
  Path result{path.chains, {}, {}};
  size_t i = 0;
  for (size_t n = 0; n < wanted; ++n) {
    const double time = path.times.back() * static_cast<double>(n) / static_cast<double>(wanted - 1);
    while (i + 2 < path.points.size() && path.times[i + 1] < time) {
      ++i;
    }
    const double span = path.times[i + 1] - path.times[i];
    const double part = span > 0.0 ? std::clamp((time - path.times[i]) / span, 0.0, 1.0) : 1.0;
    Joints point = path.points[i];
    for (size_t joint = 0; joint < point.size(); ++joint) {
      point[joint] += part * (path.points[i + 1][joint] - point[joint]);
    }
    result.points.push_back(std::move(point));
    result.times.push_back(time);
  }
  return result;
}

}  // namespace norvik::simulator::planning
