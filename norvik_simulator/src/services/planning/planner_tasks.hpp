#pragma once

#include <atomic>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "planning/planner.hpp"
#include "services/planning/execution.hpp"
#include "services/planning/planner_state.hpp"
#include "services/planning/scene_changes.hpp"

namespace norvik::simulator {

// Carries out the tasks of the planning service. For one thread.
class PlannerTasks {
 public:
  using Request = kelvorn_proto::MotionPlanServerRequest;
  using PlannerStatus = kelvorn_proto::PlannerStatus;

  // What tasks work with. All of it outlives them.
  struct Tools {
    const planning::Planner& planner;
    World& world;
    PlannerState& state;
    Execution& execution;
    TakeDepth take_depth;
    const std::atomic<bool>& stop;  // Ends what runs soon.
  };

  explicit PlannerTasks(Tools tools) : tools_(std::move(tools)) {}

  // How the task ended: FINISHED with its result, or EXECUTE_FAILED with the reason. `room` is what the result may
  // take, in bytes.
  PlannerStatus run(const Request& request, size_t room) const;

 private:
  struct Task;

  static void change_settings(const Task& task);
  static void change_objects(const Task& task);
  static void plan(const Task& task);
  static void plan_line(const Task& task);
  static void plan_waypoints(const Task& task);
  static void plan_single_points(const Task& task);
  static void inverse(const Task& task);
  static void forward(const Task& task);
  static void check_collision(const Task& task);
  static void finish_plan(const Task& task, const planning::PlanResult& result);
  static void execute(const Task& task, const planning::Path& path);

  const Tools tools_;
};

}  // namespace norvik::simulator
