#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

namespace norvik::simulator::planning {

// Enumerations are numbered as on the wire.
enum class SeedType { kRandom = 0, kRandomProgressive = 1, kUserDefined = 2 };
enum class StateDistance { kEuclidean = 0, kRadian = 1 };
enum class Termination { kTimeout = 0, kTimeoutOrExactSolution = 1 };
enum class LinePrimitive { kLine = 0, kCylinder = 1 };

struct SamplerSettings {
  StateDistance state_check_type = StateDistance::kEuclidean;
  double state_check_resolution = 0.05;  // Distance between two states that are looked at; radians (or metres).
  bool interpolate = false;              // Put `interpolation_cnt` points into the path.
  int interpolation_cnt = 0;
  bool simplify = true;
  double max_simplification_time = 0.3;  // Seconds; not above 0: as long as it takes.
  Termination termination_condition_type = Termination::kTimeoutOrExactSolution;
  double max_planning_time = 2.0;      // Seconds, inverse kinematics of the goal and simplification included.
  std::string planner = "RRTConnect";  // planner_names() lists them.
};

struct IkSettings {
  double col_aware_ik_timeout = 1.0;  // Seconds for all tries together.
  SeedType seed_type = SeedType::kRandomProgressive;
  double col_aware_ik_joint_limit_bias = 0.001;  // Solutions keep this distance from the limits.
  std::array<double, 3> translation_eps{};       // Metres along x, y, z that a solution may miss; 0: 0.01 mm.
  std::array<double, 3> rotation_eps{};          // Radians about x, y, z; 0: 0.0001.
  bool enable_collision_check_log = false;
  bool enable_collision_check = true;
};

struct TimingSettings {
  double min_move_time = 0.0;                  // Seconds, of a whole motion.
  double move_line_intermediate_point = 50.0;  // Points of a line, at least.
  double way_point_plan_expected_time = 0.5;   // Seconds from one waypoint to the next, at least.
};

struct CollisionSettings {
  bool disable_self_collision_check = false;
  bool disable_env_collision_check = false;
};

struct FeasibilitySettings {
  bool disable_collision_check = false;
  bool disable_joint_limit_check = false;
  bool disable_velocity_feasibility_check = false;
};

// How far the end effector may leave a straight line.
struct LineSettings {
  LinePrimitive line_check_primitive_type = LinePrimitive::kLine;
  double cylinder_prim_radius = 0.001;  // Metres.
  double line_prim_curvature = 0.001;   // Largest distance from the line, relative to its length.
};

struct Bounds {
  std::vector<double> lower;
  std::vector<double> upper;
};

// Softer limits of speed, acceleration and jerk; empty vectors leave the model's.
struct DynamicBounds {
  Bounds velocity;
  Bounds acceleration;
  Bounds jerk;
};

// Everything that can be configured while the robot runs. Maps are keyed by chain; a chain without entry has the
// model's limits, wider bounds than those have no effect.
struct Settings {
  SamplerSettings sampler;
  IkSettings ik;
  TimingSettings timing;
  CollisionSettings collision;
  FeasibilitySettings feasibility;
  LineSettings line;
  std::map<std::string, Bounds> ik_limits;
  std::map<std::string, Bounds> sampler_limits;
  std::map<std::string, DynamicBounds> dynamics;
};

}  // namespace norvik::simulator::planning
