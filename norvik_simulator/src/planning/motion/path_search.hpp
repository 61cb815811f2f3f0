#pragma once

#include <string>
#include <vector>

#include "planning/basis/budget.hpp"
#include "planning/basis/planning_settings.hpp"
#include "planning/collision/collision_world.hpp"

namespace norvik::simulator::planning {

// A way of the joints `indices` from `start` to one of `goals`, whole bodies, that touches nothing: its corners. Empty
// when none was found in time.
std::vector<Joints> search_path(const PlanningModel& model, const CollisionWorld& world, const Joints& start,
                                const std::vector<Joints>& goals, const std::vector<size_t>& indices,
                                const Settings& settings, const Budget& budget);

// Names for SamplerSettings::planner; another name counts as the first.
std::vector<std::string> planner_names();

}  // namespace norvik::simulator::planning
