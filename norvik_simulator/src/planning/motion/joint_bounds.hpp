#pragma once

#include <map>
#include <string>
#include <vector>

#include "planning/basis/planning_model.hpp"
#include "planning/basis/planning_settings.hpp"

namespace norvik::simulator::planning {

// The limits of joints, narrowed by what is set for their chains (vectors that do not fit a chain are left out).
Bounds joint_bounds(const PlanningModel& model, const std::map<std::string, Bounds>& narrower,
                    const std::vector<size_t>& indices);

struct JointDynamics {
  double speed;
  double acceleration;
};
// The same for speeds and accelerations.
std::vector<JointDynamics> joint_dynamics(const PlanningModel& model, const Settings& settings);

}  // namespace norvik::simulator::planning
