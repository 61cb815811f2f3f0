#pragma once

#include "planning/basis/budget.hpp"
#include "planning/collision/collision_world.hpp"

namespace norvik::simulator::planning {

// Greatest distance of two states that are looked at, radians or metres of the fastest joint together.
constexpr double kFineStep = 0.01;

double distance(const Joints& from, const Joints& to);
Joints between(const Joints& from, const Joints& to, double part);

Outcome describe(const Contact& contact);

// The states from `from` to `to`, the former left out, at most `step` apart.
std::optional<Contact> check_motion(const CollisionWorld& world, const Joints& from, const Joints& to, double step);

// Limits, speeds (of points with times) and collisions, as far as the settings want them.
Outcome check_path(const PlanningModel& model, const CollisionWorld& world, const Path& path, const Settings& settings,
                   const Interrupt& interrupt);

}  // namespace norvik::simulator::planning
