#include <norvik_sdk/motion_plan_config.hpp>

#include <cstdio>
#include <map>

#include "impl/config_text.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

const char* yes_no(bool value) { return value ? "true" : "false"; }

template <typename Values>
std::string join(const Values& values) {
  std::string text;
  for (const double value : values) {
    char number[350];  // The largest double has 309 digits before its point.
    std::snprintf(number, sizeof number, "%f", value);
    text += text.empty() ? number : std::string(", ") + number;
  }
  return text;
}

template <typename Value>
std::string number(Value value) {
  std::ostringstream text;
  text << value;
  return text.str();
}

template <typename Enumeration>
std::string name_of(const std::map<Enumeration, const char*>& names, Enumeration value) {
  const auto name = names.find(value);
  return name == names.end() ? "UNKNOWN" : name->second;
}

void append(std::vector<std::string>& lines, std::vector<std::string> more) {
  lines.insert(lines.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

template <typename Record>
void append_section(std::vector<std::string>& lines, const char* header, const std::shared_ptr<Record>& record) {
  lines.emplace_back(header);
  append(lines, record ? config_lines(*record) : std::vector<std::string>{"  Not set"});
}

void append_section(std::vector<std::string>& lines, const char* header, const char* entry,
                    const std::vector<KinematicsBoundary>& boundaries) {
  lines.emplace_back(header);
  if (boundaries.empty()) {
    lines.emplace_back("  Empty");
  }
  for (size_t i = 0; i < boundaries.size(); ++i) {
    lines.push_back(entry + std::to_string(i) + "]");
    append(lines, config_lines(boundaries[i]));
  }
}

template <typename Record>
void log_lines(const Record& record) {
  for (const std::string& line : config_lines(record)) {
    SDK_LOG(info) << line;
  }
}

}  // namespace

std::vector<std::string> config_lines(const SamplerConfig& config) {
  const bool radian = config.state_check_type == SamplerConfig::StateCheckType::RADIAN_DISTANCE;
  const bool exact =
      config.termination_condition_type == SamplerConfig::TerminationConditionType::TIMEOUT_AND_EXACT_SOLUTION;
  return {"SamplerConfig:",
          std::string("  state_check_type: ") + (radian ? "RADIAN_DISTANCE" : "EUCLIDEAN_DISTANCE"),
          "  state_check_resolution: " + number(config.state_check_resolution),
          std::string("  interpolate: ") + yes_no(config.interpolate),
          "  interpolation_cnt: " + number(config.interpolation_cnt),
          std::string("  simplify: ") + yes_no(config.simplify),
          "  max_simplification_time: " + number(config.max_simplification_time),
          std::string("  termination_condition_type: ") + (exact ? "TIMEOUT_AND_EXACT_SOLUTION" : "TIMEOUT"),
          "  max_planning_time: " + number(config.max_planning_time)};
}

std::vector<std::string> config_lines(const IKSolverConfig& config) {
  using Seed = IKSolverConfig::SeedType;
  const std::map<Seed, const char*> seeds{{Seed::RANDOM_SEED, "RANDOM_SEED"},
                                          {Seed::RANDOM_PROGRESSIVE_SEED, "RANDOM_PROGRESSIVE_SEED"},
                                          {Seed::USER_DEFINED_SEED, "USER_DEFINED_SEED"}};
  return {"IKSolverConfig:",
          "  col_aware_ik_timeout: " + number(config.col_aware_ik_timeout),
          "  seed_type: " + name_of(seeds, config.seed_type),
          "  col_aware_ik_joint_limit_bias: " + number(config.col_aware_ik_joint_limit_bias),
          "  translation_eps: [" + join(config.translation_eps) + "]",
          "  rotation_eps: [" + join(config.rotation_eps) + "]",
          std::string("  enable_collision_check_log: ") + yes_no(config.enable_collision_check_log)};
}

std::vector<std::string> config_lines(const TrajectoryPlanConfig& config) {
  return {"TrajectoryPlanConfig:", "  min_move_time: " + number(config.min_move_time),
          "  move_line_intermediate_point: " + number(config.move_line_intermediate_point),
          "  way_point_plan_expected_time: " + number(config.way_point_plan_expected_time)};
}

std::vector<std::string> config_lines(const CollisionCheckOption& config) {
  return {"CollisionCheckOption:",
          std::string("  disable_self_collision_check: ") + yes_no(config.disable_self_collision_check),
          std::string("  disable_env_collision_check: ") + yes_no(config.disable_env_collision_check)};
}

std::vector<std::string> config_lines(const TrajectoryFeasibilityCheckOption& config) {
  return {"TrajectoryFeasibilityCheckOption:",
          std::string("  disable_collision_check: ") + yes_no(config.disable_collision_check),
          std::string("  disable_joint_limit_check: ") + yes_no(config.disable_joint_limit_check),
          std::string("  disable_velocity_feasibility_check: ") + yes_no(config.disable_velocity_feasibility_check)};
}

std::vector<std::string> config_lines(const LineTrajCheckPrimitive& config) {
  using Primitive = LineTrajCheckPrimitive::PrimitiveType;
  const std::map<Primitive, const char*> primitives{{Primitive::LINE, "LINE"}, {Primitive::CYLINDER, "CYLINDER"}};
  return {"LineTrajCheckPrimitive:",
          "  line_check_primitive_type: " + name_of(primitives, config.line_check_primitive_type),
          "  cylinder_prim_radius: " + number(config.cylinder_prim_radius),
          "  line_prim_curvature: " + number(config.line_prim_curvature)};
}

std::vector<std::string> config_lines(const KinematicsBoundary& boundary) {
  return {"  chain_name: " + boundary.chain_name,
          "  lower_limit: " + join(boundary.lower_limit),
          "  upper_limit: " + join(boundary.upper_limit),
          "  vel_lower_limit: " + join(boundary.vel_lower_limit),
          "  vel_upper_limit: " + join(boundary.vel_upper_limit),
          "  acc_lower_limit: " + join(boundary.acc_lower_limit),
          "  acc_upper_limit: " + join(boundary.acc_upper_limit),
          "  jerk_lower_limit: " + join(boundary.jerk_lower_limit),
          "  jerk_upper_limit: " + join(boundary.jerk_upper_limit)};
}

std::vector<std::string> config_lines(const MotionPlanConfig& config) {
  std::vector<std::string> lines{"========== MotionPlanConfig ==========",
                                 "update_nsec: " + std::to_string(config.update_nsec)};
  append_section(lines, "--- SamplerConfig ---", config.sampler_config);
  append_section(lines, "--- TrajectoryPlanConfig ---", config.trajectory_plan_config);
  append_section(lines, "--- IKSolverConfig ---", config.ik_solver_config);
  append_section(lines, "--- CollisionCheckOption ---", config.collision_check_option);
  append_section(lines, "--- TrajectoryFeasibilityCheckOption ---", config.trajectory_feasibility_check_option);
  append_section(lines, "--- Feasibility Boundary ---", "  Boundary [", config.feasibility_boundary);
  append_section(lines, "--- LineTrajCheckPrimitive ---", config.line_traj_check_primitive);
  append_section(lines, "--- IK Joint Limit ---", "  IK Joint Limit [", config.ik_joint_limit);
  append_section(lines, "--- Sampler Joint Limit ---", "  Sampler Joint Limit [", config.sampler_joint_limit);
  append_section(lines, "--- Hard Joint Limit ---", "  Hard Joint Limit [", config.hard_joint_limit);
  lines.emplace_back("======================================");
  return lines;
}

void SamplerConfig::print() const { log_lines(*this); }
void IKSolverConfig::print() const { log_lines(*this); }
void TrajectoryPlanConfig::print() const { log_lines(*this); }
void CollisionCheckOption::print() const { log_lines(*this); }
void TrajectoryFeasibilityCheckOption::print() const { log_lines(*this); }
void LineTrajCheckPrimitive::print() const { log_lines(*this); }
void KinematicsBoundary::print() const { log_lines(*this); }
void MotionPlanConfig::print() const { log_lines(*this); }

}  // namespace norvik::sdk
