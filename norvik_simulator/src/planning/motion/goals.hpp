#pragma once

#include <string>
#include <vector>

#include "planning/basis/budget.hpp"
#include "planning/basis/planning_settings.hpp"
#include "planning/collision/collision_world.hpp"
#include "planning/motion/ik_solver.hpp"
#include "planning/scene/scene.hpp"

namespace norvik::simulator::planning {

// What all goals of a request are resolved with. A view: what it refers to must outlive it.
struct GoalContext {
  const PlanningModel& model;
  const Scene& scene;
  const Settings& settings;
  const CollisionWorld* world;  // Null: collisions do not matter.
  const RobotState& start;
  Actuate actuate;
};

// The pose of the end effector link or, for tool targets, of the tool's tip in the base link that a target means.
FrameResult target_pose(const GoalContext& context, const std::string& chain, const PoseTarget& target);

// What a pose target moves, in the end effector link.
KDL::Frame moved_tip(const Scene& scene, const std::string& chain, const PoseTarget& target);

// Invalid input, or a joint goal outside of the limits.
Outcome check_goal(const GoalContext& context, const std::string& chain, const Goal& goal);

struct Solutions {
  Outcome outcome;
  std::vector<Joints> joints;  // At least one on success, the nearest to the first seed first.
};

// Whole bodies in which a chain is at a goal, the others as in `rest`; up to `wanted` of them. They touch nothing when
// the context has a world.
Solutions solve_goal(const GoalContext& context, const std::string& chain, const Goal& goal, const Joints& rest,
                     size_t wanted, const Budget& budget);

}  // namespace norvik::simulator::planning
