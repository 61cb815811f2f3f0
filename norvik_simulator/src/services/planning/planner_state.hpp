#pragma once

#include <mutex>
#include <utility>

#include "planning/planner.hpp"
#include "services/planning/messages/planner_settings.hpp"
#include "world/world.hpp"

namespace norvik::simulator {

// What the tasks of the planning service change, one after the other, and its other services read meanwhile. Any
// thread.
class PlannerState {
 public:
  struct Snapshot {
    planning::Scene scene;
    PlannerSettings settings;
  };

  explicit PlannerState(PlannerSettings settings) : snapshot_{{}, std::move(settings)} {}

  Snapshot snapshot() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return snapshot_;
  }
  void set_scene(planning::Scene scene) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(snapshot_.scene, scene);
  }
  void set_settings(PlannerSettings settings) {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(snapshot_.settings, settings);
  }

 private:
  mutable std::mutex mutex_;
  Snapshot snapshot_;
};

// Where the robot stands now, as the planner sees it; on the map as far as the robot knows.
planning::RobotState robot_now(const World& world, const planning::PlanningModel& model);

}  // namespace norvik::simulator
