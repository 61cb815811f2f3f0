#include "impl/replies/config_report.hpp"

#include <memory>
#include <unordered_map>

#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

template <typename Value>
void take_over_enum(const std::unordered_map<int, Value>& rows, int wire, const char* name, Value& value) {
  const auto row = rows.find(wire);
  if (row == rows.end()) {
    SDK_LOG(error) << "unknown " << name << " in planner status: " << wire;
    return;
  }
  value = row->second;
}

template <typename Record>
Record& existing(std::shared_ptr<Record>& record) {
  if (!record) {
    record = std::make_shared<Record>();
  }
  return *record;
}

std::array<double, 3> to_array(const core_proto::Vector3& vector) { return {vector.x(), vector.y(), vector.z()}; }

void take_over(const kelvorn_proto::IKSolverConfig& wire, IKSolverConfig& config) {
  take_over_enum(motion_tables().seed_from_wire_, wire.seed_type(), "seed_type", config.seed_type);
  config.col_aware_ik_timeout = wire.col_aware_ik_timeout();
  config.col_aware_ik_joint_limit_bias = wire.col_aware_ik_joint_limit_bias();
  config.translation_eps = to_array(wire.translation_eps());
  config.rotation_eps = to_array(wire.rotation_eps());
  config.enable_collision_check_log = wire.enable_collision_check_log();
}

void take_over(const kelvorn_proto::MotionPlannerConfig& wire, SamplerConfig& config) {
  const MotionTables& tables = motion_tables();
  take_over_enum(tables.state_check_from_wire_, wire.state_check_type(), "state_check_type", config.state_check_type);
  take_over_enum(tables.termination_from_wire_, wire.termination_condition_type(), "termination_condition_type",
                 config.termination_condition_type);
  config.state_check_resolution = wire.state_check_resolution();
  config.interpolate = wire.interpolate();
  config.interpolation_cnt = wire.interpolation_cnt();
  config.simplify = wire.simplify();
  config.max_simplification_time = wire.max_simplification_time();
  config.max_planning_time = wire.max_planning_time();
}

void take_over(const kelvorn_proto::TrajPlannerProp& wire, TrajectoryPlanConfig& config) {
  config.min_move_time = wire.min_move_time().value();
  config.move_line_intermediate_point = wire.move_line_intermidiate_point().value();
  config.way_point_plan_expected_time = wire.way_point_plan_expected_time().value();
}

}  // namespace

std::vector<KinematicsBoundary> get_kinematics_boundary(const std::set<std::string>& chains, const LimitMap& lower,
                                                        const LimitMap& upper) {
  std::vector<KinematicsBoundary> boundaries;
  for (const std::string& chain : chains) {
    const auto low = lower.find(chain);
    const auto high = upper.find(chain);
    if (low == lower.end() || high == upper.end()) {
      continue;
    }
    KinematicsBoundary& boundary = boundaries.emplace_back();
    boundary.chain_name = chain;
    boundary.lower_limit = {low->second.data().begin(), low->second.data().end()};
    boundary.upper_limit = {high->second.data().begin(), high->second.data().end()};
  }
  return boundaries;
}

void take_over_config(const kelvorn_proto::PlannerStatus& message, const std::set<std::string>& chains,
                      MotionPlanConfig& config) {
  if (message.has_ik_solver_config()) {
    take_over(message.ik_solver_config(), existing(config.ik_solver_config));
  }
  if (message.has_motion_planner_config()) {
    take_over(message.motion_planner_config(), existing(config.sampler_config));
  }
  if (message.has_traj_planner_prop()) {
    take_over(message.traj_planner_prop(), existing(config.trajectory_plan_config));
  }
  config.ik_joint_limit =
      get_kinematics_boundary(chains, message.ik_joint_lower_limit(), message.ik_joint_upper_limit());
  config.sampler_joint_limit =
      get_kinematics_boundary(chains, message.sample_planner_lower_limit(), message.sample_planner_upper_limit());
  config.hard_joint_limit =
      get_kinematics_boundary(chains, message.hard_joint_lower_limit(), message.hard_joint_upper_limit());
}

}  // namespace norvik::sdk
