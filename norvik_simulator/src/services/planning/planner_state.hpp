#pragma once

#include <memory>
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

  explicit PlannerState(PlannerSettings settings)
      : snapshot_(std::make_shared<const Snapshot>(Snapshot{{}, std::move(settings)})) {}

  // Never changes: a change makes a new one.
  std::shared_ptr<const Snapshot> snapshot() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return snapshot_;
  }
  // Called by one thread.
  void replace(Snapshot snapshot) {
    auto next = std::make_shared<const Snapshot>(std::move(snapshot));
    const std::lock_guard<std::mutex> lock(mutex_);
    std::swap(snapshot_, next);
  }

 private:
  mutable std::mutex mutex_;
  std::shared_ptr<const Snapshot> snapshot_;
};

// Where the robot stands now, as the planner sees it; on the map as far as the robot knows.
planning::RobotState robot_now(const World& world, const planning::PlanningModel& model);

}  // namespace norvik::simulator
