#include "impl/requests/config_requests.hpp"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <stdexcept>
#include <string>

#include "impl/requests/guarded.hpp"
#include "impl/requests/proto_conversion.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

template <typename Rows, typename Value>
auto to_wire(const Rows& rows, Value value, const char* name) {
  const auto row = rows.find(value);
  if (row == rows.end()) {
    throw std::out_of_range(std::string("unsupport ") + name + ": " + std::to_string(static_cast<int>(value)));
  }
  return row->second;
}

void require_finite(const char* record, std::initializer_list<double> values) {
  if (!std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); })) {
    throw std::invalid_argument(std::string(record) + " contains invalid value (NaN or Inf)");
  }
}

void set_vector3(const std::array<double, 3>& values, core_proto::Vector3& message) {
  message.set_x(values[0]);
  message.set_y(values[1]);
  message.set_z(values[2]);
}

void set(const SamplerConfig& config, proto::MotionPlannerConfig& wire) {
  const MotionTables& tables = motion_tables();
  require_finite("SamplerConfig",
                 {config.state_check_resolution, config.max_simplification_time, config.max_planning_time});
  wire.set_state_check_type(to_wire(tables.state_check_to_wire_, config.state_check_type, "state_check_type"));
  wire.set_state_check_resolution(config.state_check_resolution);
  wire.set_interpolate(config.interpolate);
  wire.set_interpolation_cnt(config.interpolation_cnt);
  wire.set_simplify(config.simplify);
  wire.set_max_simplification_time(config.max_simplification_time);
  wire.set_termination_condition_type(
      to_wire(tables.termination_to_wire_, config.termination_condition_type, "termination_condition_type"));
  wire.set_max_planning_time(config.max_planning_time);
}

void set(const TrajectoryPlanConfig& config, proto::TrajPlannerProp& wire) {
  require_finite("TrajectoryPlanConfig",
                 {config.min_move_time, config.move_line_intermediate_point, config.way_point_plan_expected_time});
  wire.mutable_min_move_time()->set_value(config.min_move_time);
  wire.mutable_move_line_intermidiate_point()->set_value(config.move_line_intermediate_point);
  wire.mutable_way_point_plan_expected_time()->set_value(config.way_point_plan_expected_time);
}

void set(const IKSolverConfig& config, proto::IKSolverConfig& wire) {
  const auto& translation = config.translation_eps;
  const auto& rotation = config.rotation_eps;
  require_finite("IKSolverConfig", {config.col_aware_ik_timeout, config.col_aware_ik_joint_limit_bias, translation[0],
                                    translation[1], translation[2], rotation[0], rotation[1], rotation[2]});
  wire.set_col_aware_ik_timeout(config.col_aware_ik_timeout);
  wire.set_seed_type(to_wire(motion_tables().seed_to_wire_, config.seed_type, "seed_type"));
  wire.set_col_aware_ik_joint_limit_bias(config.col_aware_ik_joint_limit_bias);
  set_vector3(translation, *wire.mutable_translation_eps());
  set_vector3(rotation, *wire.mutable_rotation_eps());
  wire.set_enable_collision_check_log(config.enable_collision_check_log);
}

void set(const CollisionCheckOption& config, proto::setCollisionCheckOption& wire) {
  wire.set_disable_self_collision_check(config.disable_self_collision_check);
  wire.set_disable_env_collision_check(config.disable_env_collision_check);
}

void set(const TrajectoryFeasibilityCheckOption& config, proto::setTrajValidCheckOption& wire) {
  wire.set_disable_collision_check(config.disable_collision_check);
  wire.set_disable_joint_limit_check(config.disable_joint_limit_check);
  wire.set_disable_velocity_feasibility_check(config.disable_velocity_feasibility_check);
}

void set(const LineTrajCheckPrimitive& config, proto::setLineTrajCheckPrimitive& wire) {
  require_finite("LineTrajCheckPrimitive", {config.cylinder_prim_radius, config.line_prim_curvature});
  wire.set_line_check_primitive_type(
      to_wire(motion_tables().primitive_to_wire_, config.line_check_primitive_type, "line_check_primitive_type"));
  wire.set_cynlider_prim_radius(config.cylinder_prim_radius);
  wire.set_line_prim_curvature(config.line_prim_curvature);
}

void set_records(const MotionPlanConfig& config, proto::ConfigSettingRequest& request) {
  if (config.sampler_config) {
    set(*config.sampler_config, *request.mutable_set_planner_config()->mutable_planner_config());
  }
  if (config.trajectory_plan_config) {
    set(*config.trajectory_plan_config, *request.mutable_set_traj_planner_prop()->mutable_traj_planner_prop());
  }
  if (config.ik_solver_config) {
    set(*config.ik_solver_config, *request.mutable_set_ik_config()->mutable_ik_solver_config());
  }
  if (config.collision_check_option) {
    set(*config.collision_check_option, *request.mutable_set_collision_check_option());
  }
  if (config.trajectory_feasibility_check_option) {
    set(*config.trajectory_feasibility_check_option, *request.mutable_set_traj_valid_check_option());
  }
  if (config.line_traj_check_primitive) {
    set(*config.line_traj_check_primitive, *request.mutable_set_line_check_primitive());
  }
}

struct Limits {
  const char* name;
  const std::vector<double>& lower;
  const std::vector<double>& upper;
};

bool tells_nothing(const Limits& limits) { return limits.lower.empty() || limits.upper.empty(); }

bool is_ordered(const Limits& limits) {
  if (limits.lower.size() != limits.upper.size()) {
    SDK_LOG(error) << limits.name << " lower/upper size mismatch.";
    return false;
  }
  for (size_t i = 0; i < limits.lower.size(); ++i) {
    if (limits.lower[i] > limits.upper[i]) {
      SDK_LOG(error) << limits.name << " lower greater than upper at index " << i << ", lower=" << limits.lower[i]
                     << ", upper=" << limits.upper[i];
      return false;
    }
  }
  return true;
}

// A pair with an empty side passes, and is not sent.
bool check_limits(const DataChecker& checker, const std::string& chain, const Limits& limits) {
  if (tells_nothing(limits)) {
    return true;
  }
  return is_ordered(limits) && guarded([&] {
                                 checker.check_chain_joint_state({{chain, limits.lower}}, true);
                                 checker.check_chain_joint_state({{chain, limits.upper}}, true);
                                 return MotionStatus::SUCCESS;
                               }) == MotionStatus::SUCCESS;
}

bool is_one_record(const std::vector<KinematicsBoundary>& boundaries, const char* name) {
  if (boundaries.size() == 1) {
    return true;
  }
  SDK_LOG(error) << name << " holds " << boundaries.size() << " chains, a request carries those of one.";
  return false;
}

bool set_feasibility_boundary(const DataChecker& checker, const std::vector<KinematicsBoundary>& boundaries,
                              proto::ConfigSettingRequest& request) {
  if (!is_one_record(boundaries, "feasibility boundary")) {
    return false;
  }
  const KinematicsBoundary& boundary = boundaries.front();
  const std::string& chain = boundary.chain_name;
  if (!checker.check_chain(chain, false)) {
    return false;
  }
  if (chain != "left_arm" && chain != "right_arm") {
    SDK_LOG(error) << "feasibility boundary only support arm chain.";
    return false;
  }
  const Limits velocity{"velocity limit", boundary.vel_lower_limit, boundary.vel_upper_limit};
  const Limits acceleration{"acceleration limit", boundary.acc_lower_limit, boundary.acc_upper_limit};
  const Limits jerk{"jerk limit", boundary.jerk_lower_limit, boundary.jerk_upper_limit};
  if (!check_limits(checker, chain, velocity) || !check_limits(checker, chain, acceleration) ||
      !check_limits(checker, chain, jerk)) {
    return false;
  }
  if (tells_nothing(velocity) && tells_nothing(acceleration) && tells_nothing(jerk)) {
    return true;
  }
  auto& wire = *request.mutable_set_feasibility_bound();
  wire.set_chain(chain_type(chain));
  if (!tells_nothing(velocity)) {
    convert_to_vector(velocity.lower, *wire.mutable_soft_vel_lower_limit());
    convert_to_vector(velocity.upper, *wire.mutable_soft_vel_upper_limit());
  }
  if (!tells_nothing(acceleration)) {
    convert_to_vector(acceleration.lower, *wire.mutable_soft_acc_lower_limit());
    convert_to_vector(acceleration.upper, *wire.mutable_soft_acc_upper_limit());
  }
  if (!tells_nothing(jerk)) {
    convert_to_vector(jerk.lower, *wire.mutable_soft_jerk_lower_limit());
    convert_to_vector(jerk.upper, *wire.mutable_soft_jerk_upper_limit());
  }
  return true;
}

// The position limits of the first chain, for which `add` gives the message once there is something to send.
template <typename AddMessage>
bool set_position_limit(const DataChecker& checker, const std::vector<KinematicsBoundary>& boundaries, const char* name,
                        AddMessage add) {
  const auto limits_of = [name](const KinematicsBoundary& boundary) {
    return Limits{name, boundary.lower_limit, boundary.upper_limit};
  };
  for (const KinematicsBoundary& boundary : boundaries) {
    if (!check_limits(checker, boundary.chain_name, limits_of(boundary))) {
      return false;
    }
  }
  const KinematicsBoundary& boundary = boundaries.front();
  const Limits limits = limits_of(boundary);
  if (boundaries.size() > 1) {
    SDK_LOG(warning) << name << " holds " << boundaries.size() << " chains, only that of " << boundary.chain_name
                     << " is sent.";
  }
  if (tells_nothing(limits)) {
    return true;
  }
  return guarded([&] {
           const proto::ChainType chain = chain_type(boundary.chain_name);
           auto& wire = add();
           wire.set_chain(chain);
           convert_to_vector(limits.lower, *wire.mutable_soft_lower_limit());
           convert_to_vector(limits.upper, *wire.mutable_soft_upper_limit());
           return MotionStatus::SUCCESS;
         }) == MotionStatus::SUCCESS;
}

bool set_ik_joint_limit(const DataChecker& checker, const std::vector<KinematicsBoundary>& boundaries,
                        proto::ConfigSettingRequest& request) {
  return set_position_limit(
      checker, boundaries, "ik joint limit", [&]() -> auto& {
        request.set_refresh_ik_soft_limit(true);
        return *request.mutable_set_ik_soft_limit();
      });
}

bool set_sampler_joint_limit(const DataChecker& checker, const std::vector<KinematicsBoundary>& boundaries,
                             proto::ConfigSettingRequest& request) {
  return set_position_limit(
      checker, boundaries, "sampler joint limit", [&]() -> auto& {
        request.mutable_refresh_sampler_limit()->set_value(true);
        return *request.mutable_set_sample_planner_limit();
      });
}

}  // namespace

MotionStatus fill_config_setting(const DataChecker& checker, const MotionPlanConfig& config,
                                 proto::ConfigSettingRequest& request) {
  const struct {
    const std::vector<KinematicsBoundary>& boundaries;
    bool (*set)(const DataChecker&, const std::vector<KinematicsBoundary>&, proto::ConfigSettingRequest&);
    const char* failure;
  } limits[] = {{config.feasibility_boundary, set_feasibility_boundary, "set_feasibility_boundary failed."},
                {config.ik_joint_limit, set_ik_joint_limit, "set_ik_joint_limit failed."},
                {config.sampler_joint_limit, set_sampler_joint_limit, "set_sampler_joint_limit failed."}};
  return guarded([&] {
    set_records(config, request);
    for (const auto& limit : limits) {
      if (!limit.boundaries.empty() && !limit.set(checker, limit.boundaries, request)) {
        SDK_LOG(error) << limit.failure;
        return MotionStatus::INVALID_INPUT;
      }
    }
    return MotionStatus::SUCCESS;
  });
}

}  // namespace norvik::sdk
