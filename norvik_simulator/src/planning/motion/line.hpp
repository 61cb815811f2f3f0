#pragma once

#include "planning/motion/goals.hpp"

namespace norvik::simulator::planning {

// One chain of a line: a pose for its tip to go to, or joints to go straight to for a chain that cannot keep a pose
// (fewer than six joints).
struct LineGoal {
  std::string chain;
  Goal goal;
  Actuate actuate = Actuate::kChainOnly;
};

struct LineResult {
  Outcome outcome;
  std::vector<Joints> points;
};

// Joints along the lines of all goals from the start, so near to each other that the way between them is straight as
// well: within 0.5 mm and 0.005 rad, and within the line settings.
LineResult follow_lines(const GoalContext& context, const std::vector<LineGoal>& goals, const Budget& budget);

}  // namespace norvik::simulator::planning
