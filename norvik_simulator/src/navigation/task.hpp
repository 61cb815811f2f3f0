#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "navigation/limits.hpp"
#include "world/planar.hpp"

namespace norvik::simulator {

// As the wire counts them.
enum class TaskStatus {
  kUnknown = 0,
  kRunning = 1,
  kSuccess = 2,
  kFailed = 3,
  kInterrupted = 4,
  kOccupied = 5,
  kCollision = 6,
  kCloseToObstacle = 7
};

struct Report {
  std::string task_id;
  TaskStatus status = TaskStatus::kUnknown;
  std::string message;
};

// How near is near enough: metres along the goal's x and y, radians.
using Threshold = std::array<double, 3>;

struct Target {
  PlanarPose pose;  // On the map, or where the base is when the task begins.
  bool in_base_frame = false;
  bool omni = false;  // It may look elsewhere than where it drives to.
  Scales scales;
  std::optional<Threshold> threshold;  // In place of the one that is set.
};

// Something to drive.
struct Task {
  enum class Kind {
    kGoals,       // One after the other, around obstacles.
    kStraight,    // To the one target in a straight line.
    kTrajectory,  // Along the targets as they are given.
    kVelocity,    // With a twist, for a time.
  };
  std::string id;
  Kind kind = Kind::kGoals;
  std::vector<Target> targets;
  PlanarTwist twist;
  double duration = 0.0;          // s, of a twist
  bool check_collision = true;    // Without it the goals are driven to straight, whatever is there.
  std::optional<double> timeout;  // s; in place of the one that is set. 0 and below: none.
};

}  // namespace norvik::simulator
