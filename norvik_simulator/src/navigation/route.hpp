#pragma once

#include <string>
#include <vector>

#include "navigation/map/shapes.hpp"

namespace norvik::simulator {

// Where the robot looks on its way.
enum class Facing {
  kAhead,    // Where it drives to, and at the end where it is to look.
  kTurning,  // Turns evenly from the first direction to the last.
  kKept,     // In the last direction from the beginning on.
};

// A part of a way, at whose end the robot stands still. The first point is where it begins.
struct Leg {
  std::vector<Point> points;
  Facing facing = Facing::kAhead;
  double last_yaw = 0.0;
};
using Route = std::vector<Leg>;

double length_of(const std::vector<Point>& points);

// The result of a search: a way, or why there is none.
struct Search {
  enum class Result { kFound, kGoalOccupied, kNoWay };
  Result result = Result::kNoWay;
  Route route;
};

}  // namespace norvik::simulator
