#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "planning/basis/planning_model.hpp"
#include "planning/basis/planning_settings.hpp"
#include "planning/basis/planning_types.hpp"
#include "planning/collision/collision_world.hpp"
#include "planning/motion/path_search.hpp"
#include "planning/scene/scene.hpp"

namespace norvik::simulator::planning {

struct IkRequest {
  RobotState start;  // Joints that do not take part stay there; the seed of SeedType::kUserDefined.
  std::string chain;
  Actuate actuate = Actuate::kChainOnly;
  PoseTarget target;
  bool check_collision = true;
};

struct IkResult {
  Outcome outcome;
  Joints joints;                          // Whole body.
  std::vector<std::string> moved_chains;  // Whose joints were found, e.g. leg and left_arm.
};

struct Jacobian {
  size_t rows = 0;           // 6: linear x, y, z, angular x, y, z. 0 for an unknown link.
  size_t cols = 0;           // One for each joint of the chain that the link belongs to, chains below it left out.
  std::vector<double> data;  // Row by row.
};

// All goals are reached at the same time.
struct PlanRequest {
  RobotState start;
  std::vector<ChainGoals> targets;  // For plan() and plan_line() with one goal each.
  Actuate actuate = Actuate::kChainOnly;
  bool check_validity = true;  // Of the finished trajectory: limits, speeds, collisions.
};

// Plans the motions of a robot. Immutable: any thread may use it. Input that is wrong in any way (names, sizes, no
// numbers) ends in Reason::kInvalidInput.
class Planner {
 public:
  // Reads the URDF of the robot and finds the pairs of links that may touch. Empty, with a reason, when the URDF cannot
  // be read or its links collide with all joints at zero. Takes some tenths of a second.
  static std::optional<Planner> load(const RobotModel& robot, const std::string& folder, std::string& error);

  Planner(Planner&&) noexcept;
  Planner& operator=(Planner&&) noexcept;
  ~Planner();

  const PlanningModel& model() const;

  // Pose of a link in a frame. Microseconds.
  FrameResult forward_kinematics(const std::string& link, const FrameRef& frame, const RobotState& state) const;

  // Of the origin of a link, in the axes of the world or of the base link. Microseconds.
  Jacobian jacobian(const std::string& link, const FrameRef& frame, const RobotState& state) const;

  // Joints that put a chain at a pose. Tries seeds until one fits or Settings::ik.col_aware_ik_timeout is over.
  IkResult inverse_kinematics(const IkRequest& request, const Scene& scene, const Settings& settings,
                              const Interrupt& interrupt = {}) const;

  // The first contact found, empty for a state without any. Disabled checks of the settings count.
  std::optional<Contact> check_collision(const RobotState& state, const Scene& scene, const Settings& settings) const;

  // A motion around obstacles, within Settings::sampler.max_planning_time.
  PlanResult plan(const PlanRequest& request, const Scene& scene, const Settings& settings,
                  const Interrupt& interrupt = {}) const;

  // The end effectors (tips of tools with PoseTarget::tool) go straight, turning about one axis. Joint goals are turned
  // into the poses that they mean.
  PlanResult plan_line(const PlanRequest& request, const Scene& scene, const Settings& settings,
                       const Interrupt& interrupt = {}) const;

  // Through all goals in turn, all chains having as many, joints going straight from one to the next.
  PlanResult plan_waypoints(const PlanRequest& request, const Scene& scene, const Settings& settings,
                            const Interrupt& interrupt = {}) const;

  // Limits, speeds (when there are times) and collisions between the points as well, as Settings::feasibility wants it.
  Outcome check_path(const Path& path, const KDL::Frame& base, const Scene& scene, const Settings& settings,
                     const Interrupt& interrupt = {}) const;

 private:
  struct Impl;
  explicit Planner(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

// The same motion with `count` points (at least 2), evenly in time, linear between the points there are.
Path resample(const Path& path, size_t count);

}  // namespace norvik::simulator::planning
