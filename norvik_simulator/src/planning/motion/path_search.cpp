#include "planning/motion/path_search.hpp"

#include <ompl/base/goals/GoalStates.h>
#include <ompl/base/spaces/RealVectorStateSpace.h>
#include <ompl/geometric/PathSimplifier.h>
#include <ompl/geometric/SimpleSetup.h>
#include <ompl/geometric/planners/est/BiEST.h>
#include <ompl/geometric/planners/kpiece/BKPIECE1.h>
#include <ompl/geometric/planners/kpiece/LBKPIECE1.h>
#include <ompl/geometric/planners/rrt/RRTConnect.h>
#include <ompl/geometric/planners/sbl/SBL.h>
#include <ompl/util/Console.h>

#include <algorithm>
#include <cmath>

#include "planning/collision/path_check.hpp"
#include "planning/motion/joint_bounds.hpp"

namespace norvik::simulator::planning {

namespace {

namespace ob = ompl::base;
namespace og = ompl::geometric;

template <typename Planner>
ob::PlannerPtr make(const ob::SpaceInformationPtr& space) {
  return std::make_shared<Planner>(space);
}

struct PlannerRow {
  const char* name;
  ob::PlannerPtr (*make)(const ob::SpaceInformationPtr&);
};
constexpr PlannerRow kPlanners[] = {{"RRTConnect", make<og::RRTConnect>},
                                    {"BKPIECE1", make<og::BKPIECE1>},
                                    {"LBKPIECE1", make<og::LBKPIECE1>},
                                    {"BiEST", make<og::BiEST>},
                                    {"SBL", make<og::SBL>}};

const PlannerRow& find_planner(const std::string& name) {
  const auto it =
      std::find_if(std::begin(kPlanners), std::end(kPlanners), [&](const auto& row) { return name == row.name; });
  return it == std::end(kPlanners) ? kPlanners[0] : *it;
}

// The joints that move, as OMPL knows them.
struct Space {
  const std::vector<size_t>& indices;
  Joints rest;

  Joints joints(const ob::State* state) const {
    Joints result = rest;
    const double* values = state->as<ob::RealVectorStateSpace::StateType>()->values;
    for (size_t i = 0; i < indices.size(); ++i) {
      result[indices[i]] = values[i];
    }
    return result;
  }
  template <typename State>
  void store(const Joints& joints, State& state) const {
    for (size_t i = 0; i < indices.size(); ++i) {
      state[static_cast<unsigned>(i)] = joints[indices[i]];
    }
  }
};

double length(const Joints& from, const Joints& to, StateDistance kind) {
  if (kind == StateDistance::kEuclidean) {
    return distance(from, to);
  }
  double greatest = 0.0;
  for (size_t i = 0; i < from.size(); ++i) {
    greatest = std::max(greatest, std::abs(to[i] - from[i]));
  }
  return greatest;
}

// Looks at states no farther apart than the settings say.
class MotionValidator : public ob::MotionValidator {
 public:
  MotionValidator(ob::SpaceInformation* info, const CollisionWorld& world, const Space& space, StateDistance kind,
                  double step)
      : ob::MotionValidator(info), world_(world), space_(space), kind_(kind), step_(step) {}

  bool checkMotion(const ob::State* from, const ob::State* to) const override {
    const Joints first = space_.joints(from);
    const Joints last = space_.joints(to);
    const double count = std::max(1.0, std::ceil(length(first, last, kind_) / step_));
    if (world_.check(last)) {
      return false;
    }
    // Coarse steps first: a collision somewhere in the middle is found early.
    for (double stride = std::exp2(std::floor(std::log2(count))); stride >= 1.0; stride /= 2.0) {
      for (double i = stride; i < count; i += 2.0 * stride) {
        if (world_.check(between(first, last, i / count))) {
          return false;
        }
      }
    }
    return true;
  }

  bool checkMotion(const ob::State* from, const ob::State* to, std::pair<ob::State*, double>& last) const override {
    const Joints first = space_.joints(from);
    const Joints end = space_.joints(to);
    const double count = std::max(1.0, std::ceil(length(first, end, kind_) / step_));
    for (double i = 1.0; i <= count; ++i) {
      if (world_.check(between(first, end, i / count))) {
        last.second = (i - 1.0) / count;
        if (last.first != nullptr) {
          si_->getStateSpace()->interpolate(from, to, last.second, last.first);
        }
        return false;
      }
    }
    return true;
  }

 private:
  const CollisionWorld& world_;
  const Space& space_;
  StateDistance kind_;
  double step_;
};

ob::StateSpacePtr make_space(const PlanningModel& model, const Settings& settings, const std::vector<size_t>& indices,
                             const Joints& start, const std::vector<Joints>& goals) {
  auto space = std::make_shared<ob::RealVectorStateSpace>(static_cast<unsigned>(indices.size()));
  const Bounds limits = joint_bounds(model, settings.sampler_limits, indices);
  ob::RealVectorBounds bounds(static_cast<unsigned>(indices.size()));
  for (unsigned i = 0; i < indices.size(); ++i) {
    // What is asked for must lie inside, rounding included.
    bounds.low[i] = std::min(limits.lower[i], start[indices[i]]);
    bounds.high[i] = std::max(limits.upper[i], start[indices[i]]);
    for (const Joints& goal : goals) {
      bounds.low[i] = std::min(bounds.low[i], goal[indices[i]]);
      bounds.high[i] = std::max(bounds.high[i], goal[indices[i]]);
    }
    bounds.high[i] = std::max(bounds.high[i], bounds.low[i] + 1e-6);
  }
  space->setBounds(bounds);
  return space;
}

std::vector<Joints> simplified(og::SimpleSetup& setup, const Space& space, const SamplerSettings& settings,
                               const Budget& budget) {
  og::PathGeometric& path = setup.getSolutionPath();
  if (settings.simplify) {
    const double most = settings.max_simplification_time > 0.0 ? settings.max_simplification_time : budget.left();
    const Budget part = budget.within(most);
    og::PathSimplifier(setup.getSpaceInformation()).simplify(path, ob::PlannerTerminationCondition([&] {
                                                               return part.over();
                                                             }));
  }
  if (settings.interpolate && settings.interpolation_cnt > 0) {
    constexpr int kMostPoints = 100'000;
    path.interpolate(static_cast<unsigned>(std::min(settings.interpolation_cnt, kMostPoints)));
  }
  std::vector<Joints> corners;
  for (const ob::State* state : path.getStates()) {
    corners.push_back(space.joints(state));
  }
  return corners;
}

std::vector<Joints> search(const PlanningModel& model, const CollisionWorld& world, const Joints& start,
                           const std::vector<Joints>& goals, const std::vector<size_t>& indices,
                           const Settings& settings, const PlannerRow& planner, double step, const Budget& budget) {
  const Space joints{indices, start};
  og::SimpleSetup setup(make_space(model, settings, indices, start, goals));
  const auto& info = setup.getSpaceInformation();
  setup.setStateValidityChecker([&](const ob::State* state) { return !world.check(joints.joints(state)); });
  info->setMotionValidator(
      std::make_shared<MotionValidator>(info.get(), world, joints, settings.sampler.state_check_type, step));
  ob::ScopedState<ob::RealVectorStateSpace> from(setup.getStateSpace());
  joints.store(start, from);
  setup.setStartState(from);
  auto targets = std::make_shared<ob::GoalStates>(info);
  for (const Joints& goal : goals) {
    ob::ScopedState<ob::RealVectorStateSpace> to(setup.getStateSpace());
    joints.store(goal, to);
    targets->addState(to);
  }
  setup.setGoal(targets);
  setup.setPlanner(planner.make(info));
  const auto status = setup.solve(ob::PlannerTerminationCondition([&] { return budget.over(); }));
  if (status != ob::PlannerStatus::EXACT_SOLUTION) {
    return {};
  }
  return simplified(setup, joints, settings.sampler, budget);
}

bool is_free(const CollisionWorld& world, const std::vector<Joints>& corners) {
  for (size_t i = 1; i < corners.size(); ++i) {
    if (check_motion(world, corners[i - 1], corners[i], kFineStep)) {
      return false;
    }
  }
  return true;
}

}  // namespace

std::vector<std::string> planner_names() {
  std::vector<std::string> names;
  for (const PlannerRow& row : kPlanners) {
    names.emplace_back(row.name);
  }
  return names;
}

std::vector<Joints> search_path(const PlanningModel& model, const CollisionWorld& world, const Joints& start,
                                const std::vector<Joints>& goals, const std::vector<size_t>& indices,
                                const Settings& settings, const Budget& budget) {
  ompl::msg::setLogLevel(ompl::msg::LOG_NONE);
  for (const Joints& goal : goals) {
    if (!check_motion(world, start, goal, kFineStep)) {
      return {start, goal};
    }
  }
  constexpr double kFirstShare = 0.6;  // Of the time; then another planner has a try.
  double step = std::max(settings.sampler.state_check_resolution, 1e-3);
  const PlannerRow* planner = &find_planner(settings.sampler.planner);
  const Budget first = budget.within(budget.left() * kFirstShare);
  while (!budget.over()) {
    const bool late = first.over();
    if (late && planner == &find_planner(settings.sampler.planner)) {
      planner = planner == &kPlanners[0] ? &kPlanners[1] : &kPlanners[0];
    }
    std::vector<Joints> corners =
        search(model, world, start, goals, indices, settings, *planner, step, late ? budget : first);
    if (!corners.empty() && is_free(world, corners)) {
      return corners;
    }
    if (!corners.empty()) {
      step = std::max(step / 2.0, kFineStep / 2.0);  // It slipped through between two states.
    }
  }
  return {};
}

}  // namespace norvik::simulator::planning
