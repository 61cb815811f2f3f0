#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/export.hpp>

namespace norvik::sdk {

// Settings of the motion planning service. All records are plain values without locks. `print()` writes a record to the
// library's log at level info, one line for each field; it never fails and never blocks.

// How collision-free paths are searched for.
struct NORVIK_SDK_EXPORT SamplerConfig {
  // How far apart two states are.
  enum class StateCheckType : int32_t { EUCLIDEAN_DISTANCE = 0, RADIAN_DISTANCE = 1 };
  enum class TerminationConditionType : int32_t { TIMEOUT = 0, TIMEOUT_AND_EXACT_SOLUTION = 1 };

  void print() const;

  StateCheckType state_check_type = StateCheckType::EUCLIDEAN_DISTANCE;
  double state_check_resolution = 0.01;  // largest step between checked states, in the measure above
  bool interpolate = false;
  int interpolation_cnt = 0;              // points of an interpolated path
  bool simplify = false;                  // shorten a path that was found
  double max_simplification_time = -1.0;  // seconds; negative: no limit
  TerminationConditionType termination_condition_type = TerminationConditionType::TIMEOUT;
  double max_planning_time = 2.0;  // seconds
};

// How inverse kinematics is solved.
struct NORVIK_SDK_EXPORT IKSolverConfig {
  enum class SeedType : int32_t { RANDOM_SEED = 0, RANDOM_PROGRESSIVE_SEED = 1, USER_DEFINED_SEED = 2 };

  void print() const;

  double col_aware_ik_timeout = 10.0;  // seconds
  SeedType seed_type = SeedType::RANDOM_SEED;
  double col_aware_ik_joint_limit_bias = 0.001;  // radians kept from the limits
  std::array<double, 3> translation_eps{};       // metres, x y z
  std::array<double, 3> rotation_eps{};          // radians, about x y z
  bool enable_collision_check_log = false;
};

// How a path becomes a trajectory.
struct NORVIK_SDK_EXPORT TrajectoryPlanConfig {
  void print() const;

  double min_move_time = 0.0;                  // seconds
  double move_line_intermediate_point = 50.0;  // points along a straight line
  double way_point_plan_expected_time = 0.5;   // seconds from one waypoint to the next
};

struct NORVIK_SDK_EXPORT CollisionCheckOption {
  void print() const;

  bool disable_self_collision_check = false;
  bool disable_env_collision_check = false;
};

struct NORVIK_SDK_EXPORT TrajectoryFeasibilityCheckOption {
  void print() const;

  bool disable_collision_check = false;
  bool disable_joint_limit_check = false;
  bool disable_velocity_feasibility_check = false;
};

// What a straight line is checked with.
struct NORVIK_SDK_EXPORT LineTrajCheckPrimitive {
  enum class PrimitiveType : int32_t { LINE = 0, CYLINDER = 1 };

  void print() const;

  PrimitiveType line_check_primitive_type = PrimitiveType::LINE;
  double cylinder_prim_radius = 0.0;  // metres
  double line_prim_curvature = 0.0;
};

// Limits of the joints of one chain, one value for each joint; an empty vector tells nothing. Radians, rad/s, rad/s^2,
// rad/s^3; metres for a joint that slides.
struct NORVIK_SDK_EXPORT KinematicsBoundary {
  void print() const;

  std::string chain_name;
  std::vector<double> lower_limit;
  std::vector<double> upper_limit;
  std::vector<double> vel_lower_limit;
  std::vector<double> vel_upper_limit;
  std::vector<double> acc_lower_limit;
  std::vector<double> acc_upper_limit;
  std::vector<double> jerk_lower_limit;
  std::vector<double> jerk_upper_limit;
};

// The configuration as a whole. In what is read, an empty pointer or vector was not reported; in what is set, it leaves
// the setting of the service as it is.
struct NORVIK_SDK_EXPORT MotionPlanConfig {
  void print() const;

  int64_t update_nsec = 0;  // when the service reported it, nanoseconds since the Unix epoch; not sent
  std::shared_ptr<SamplerConfig> sampler_config;
  std::shared_ptr<TrajectoryPlanConfig> trajectory_plan_config;
  std::shared_ptr<IKSolverConfig> ik_solver_config;
  std::shared_ptr<CollisionCheckOption> collision_check_option;
  std::shared_ptr<TrajectoryFeasibilityCheckOption> trajectory_feasibility_check_option;
  std::vector<KinematicsBoundary> feasibility_boundary;  // to set: one arm; velocity, acceleration and jerk count
  std::shared_ptr<LineTrajCheckPrimitive> line_traj_check_primitive;
  std::vector<KinematicsBoundary> ik_joint_limit;       // to set: only the first chain is sent
  std::vector<KinematicsBoundary> sampler_joint_limit;  // to set: only the first chain is sent
  std::vector<KinematicsBoundary> hard_joint_limit;     // read only
};

}  // namespace norvik::sdk
