#include "services/planning/messages/planner_settings.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>
#include <vector>

#include "services/planning/messages/bad_request.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;
using planning::Bounds;
using proto::PlannerStatus;

constexpr double kLongestTimeS = 3600.0;
constexpr int kMostPoints = 10000;
constexpr double kSlowest = 1e-3;  // Per second.

// A value of a record and the range in which it makes sense; not-a-number is in none.
struct Value {
  const char* name;
  double value;
  double least;
  double most;
};

void check_values(std::initializer_list<Value> values) {
  for (const Value& value : values) {
    if (!(value.value >= value.least && value.value <= value.most)) {
      throw BadRequest(std::string(value.name) + " is " + std::to_string(value.value) + ", not within " +
                       std::to_string(value.least) + " and " + std::to_string(value.most));
    }
  }
}

void check(const proto::IKSolverConfig& config) {
  const auto& translation = config.translation_eps();
  const auto& rotation = config.rotation_eps();
  check_values({{"col_aware_ik_timeout", config.col_aware_ik_timeout(), 1e-3, kLongestTimeS},
                {"seed_type", static_cast<double>(config.seed_type()), 0.0, 2.0},
                {"col_aware_ik_joint_limit_bias", config.col_aware_ik_joint_limit_bias(), 0.0, 1.0},
                {"translation_eps.x", translation.x(), 0.0, 1.0},
                {"translation_eps.y", translation.y(), 0.0, 1.0},
                {"translation_eps.z", translation.z(), 0.0, 1.0},
                {"rotation_eps.x", rotation.x(), 0.0, M_PI},
                {"rotation_eps.y", rotation.y(), 0.0, M_PI},
                {"rotation_eps.z", rotation.z(), 0.0, M_PI}});
}

// A simplification time below 0 means without a limit of its own.
void check(const proto::MotionPlannerConfig& config) {
  check_values({{"state_check_type", static_cast<double>(config.state_check_type()), 0.0, 1.0},
                {"state_check_resolution", config.state_check_resolution(), 1e-4, 1.0},
                {"interpolation_cnt", static_cast<double>(config.interpolation_cnt()), 0.0, kMostPoints},
                {"max_simplification_time", config.max_simplification_time(), -kLongestTimeS, kLongestTimeS},
                {"termination_condition_type", static_cast<double>(config.termination_condition_type()), 0.0, 1.0},
                {"max_planning_time", config.max_planning_time(), 1e-3, kLongestTimeS}});
}

void check(const proto::TrajPlannerProp& config) {
  check_values({{"min_move_time", config.min_move_time().value(), 0.0, kLongestTimeS},
                {"move_line_intermidiate_point", config.move_line_intermidiate_point().value(), 0.0, kMostPoints},
                {"way_point_plan_expected_time", config.way_point_plan_expected_time().value(), 0.0, kLongestTimeS}});
}

void check(const proto::setLineTrajCheckPrimitive& config) {
  check_values({{"line_check_primitive_type", static_cast<double>(config.line_check_primitive_type()), 0.0, 1.0},
                {"cynlider_prim_radius", config.cynlider_prim_radius(), 0.0, 10.0},
                {"line_prim_curvature", config.line_prim_curvature(), 0.0, 1e3}});
}

template <typename Record>
void take_over(const Record& sent, Record& record) {
  check(sent);
  record = sent;
}

Bounds read_bounds(const core_proto::Vector& lower, const core_proto::Vector& upper) {
  return {{lower.data().begin(), lower.data().end()}, {upper.data().begin(), upper.data().end()}};
}

// As many as there are joints, and in order.
void check_bounds(const std::string& chain, const Bounds& bounds, size_t joints, int32_t code) {
  if (bounds.lower.size() != joints || bounds.upper.size() != joints) {
    throw BadRequest(chain + ": limits are " + std::to_string(bounds.lower.size()) + " and " +
                         std::to_string(bounds.upper.size()) + " values for " + std::to_string(joints) + " joints",
                     code);
  }
  for (size_t i = 0; i < joints; ++i) {
    if (!(bounds.lower[i] <= bounds.upper[i])) {
      throw BadRequest(chain + ": limits of joint " + std::to_string(i + 1) + " are out of order", code);
    }
  }
}

bool is_within(const Bounds& inner, const Bounds& outer) {
  constexpr double kRounding = 1e-6;
  for (size_t i = 0; i < inner.lower.size(); ++i) {
    if (inner.lower[i] < outer.lower[i] - kRounding || inner.upper[i] > outer.upper[i] + kRounding) {
      return false;
    }
  }
  return true;
}

// The limits of the joints of a chain that the robot has.
const Bounds& find_bounds(const BoundsByChain& limits, int chain, int32_t code) {
  const auto row = proto::ChainType_IsValid(chain)
                       ? limits.find(proto::ChainType_Name(static_cast<proto::ChainType>(chain)))
                       : limits.end();
  if (row == limits.end()) {
    throw BadRequest("the robot has no chain " + std::to_string(chain), code);
  }
  return row->second;
}

// setIKSoftLimitRequest and setSamplePlannerLimitRequest have the same fields.
template <typename Request>
void set_position_limits(const Request& request, const BoundsByChain& hard, BoundsByChain& limits) {
  constexpr int32_t kCode = PlannerStatus::PARAM_ERROR;
  const Bounds& own = find_bounds(hard, request.chain(), kCode);
  const std::string chain = proto::ChainType_Name(request.chain());
  Bounds bounds = read_bounds(request.soft_lower_limit(), request.soft_upper_limit());
  check_bounds(chain, bounds, own.lower.size(), kCode);
  if (!is_within(bounds, own)) {
    throw BadRequest(chain + ": limits are beyond those of the joints");
  }
  limits[chain] = std::move(bounds);
}

void write_limits(const BoundsByChain& limits, google::protobuf::Map<std::string, core_proto::Vector>& lower,
                  google::protobuf::Map<std::string, core_proto::Vector>& upper) {
  for (const auto& [chain, bounds] : limits) {
    lower[chain].mutable_data()->Add(bounds.lower.begin(), bounds.lower.end());
    upper[chain].mutable_data()->Add(bounds.upper.begin(), bounds.upper.end());
  }
}

std::array<double, 3> to_array(const core_proto::Vector3& vector) { return {vector.x(), vector.y(), vector.z()}; }

}  // namespace

PlannerSettings::PlannerSettings(const planning::PlanningModel& model) {
  for (const planning::Chain& chain : model.chains()) {
    planning::Bounds& bounds = hard_limits_[chain.name];
    for (const planning::ChainJoint& joint : chain.joints) {
      bounds.lower.push_back(joint.lower);
      bounds.upper.push_back(joint.upper);
    }
  }
  inverse_limits_ = sampler_limits_ = hard_limits_;
  set_records(planning::Settings());
}

void PlannerSettings::set_records(const planning::Settings& settings) {
  inverse_.set_col_aware_ik_timeout(settings.ik.col_aware_ik_timeout);
  inverse_.set_seed_type(static_cast<proto::SeedType>(settings.ik.seed_type));
  inverse_.set_col_aware_ik_joint_limit_bias(settings.ik.col_aware_ik_joint_limit_bias);
  inverse_.mutable_translation_eps();
  inverse_.mutable_rotation_eps();
  sampler_.set_state_check_type(static_cast<proto::StateCheckType>(settings.sampler.state_check_type));
  sampler_.set_state_check_resolution(settings.sampler.state_check_resolution);
  sampler_.set_simplify(settings.sampler.simplify);
  sampler_.set_max_simplification_time(settings.sampler.max_simplification_time);
  sampler_.set_termination_condition_type(
      static_cast<proto::TerminationConditionType>(settings.sampler.termination_condition_type));
  sampler_.set_max_planning_time(settings.sampler.max_planning_time);
  trajectory_.mutable_min_move_time()->set_value(settings.timing.min_move_time);
  trajectory_.mutable_move_line_intermidiate_point()->set_value(settings.timing.move_line_intermediate_point);
  trajectory_.mutable_way_point_plan_expected_time()->set_value(settings.timing.way_point_plan_expected_time);
  line_.set_cynlider_prim_radius(settings.line.cylinder_prim_radius);
  line_.set_line_prim_curvature(settings.line.line_prim_curvature);
}

void PlannerSettings::apply(const proto::ConfigSettingRequest& request) {
  PlannerSettings changed = *this;
  changed.apply_records(request);
  changed.apply_limits(request);
  *this = std::move(changed);
}

void PlannerSettings::apply_records(const proto::ConfigSettingRequest& request) {
  if (request.has_set_planner_config()) {
    take_over(request.set_planner_config().planner_config(), sampler_);
  }
  if (request.has_set_traj_planner_prop()) {
    take_over(request.set_traj_planner_prop().traj_planner_prop(), trajectory_);
  }
  if (request.has_set_ik_config()) {
    take_over(request.set_ik_config().ik_solver_config(), inverse_);
  }
  if (request.has_set_line_check_primitive()) {
    take_over(request.set_line_check_primitive(), line_);
  }
  if (request.has_set_collision_check_option()) {
    collision_ = request.set_collision_check_option();
  }
  if (request.has_set_traj_valid_check_option()) {
    validity_ = request.set_traj_valid_check_option();
  }
}

// A refresh without new limits goes back to those of the joints.
void PlannerSettings::apply_limits(const proto::ConfigSettingRequest& request) {
  if (request.has_set_ik_soft_limit()) {
    set_position_limits(request.set_ik_soft_limit(), hard_limits_, inverse_limits_);
  } else if (request.refresh_ik_soft_limit()) {
    inverse_limits_ = hard_limits_;
  }
  if (request.has_set_sample_planner_limit()) {
    set_position_limits(request.set_sample_planner_limit(), hard_limits_, sampler_limits_);
  } else if (request.refresh_sampler_limit().value()) {
    sampler_limits_ = hard_limits_;
  }
  if (request.has_set_feasibility_bound()) {
    apply_feasibility(request.set_feasibility_bound());
  }
}

// What the motions of a chain may do at most. Each joint must be able to go both ways.
void PlannerSettings::apply_feasibility(const proto::setFeasibilityBoundRequest& request) {
  constexpr int32_t kCode = PlannerStatus::SET_FEASIBILITY_BOUND_FAILED;
  const size_t joints = find_bounds(hard_limits_, request.chain(), kCode).lower.size();
  const std::string chain = proto::ChainType_Name(request.chain());
  planning::DynamicBounds& dynamics = dynamics_[chain];
  const struct {
    const core_proto::Vector& lower;
    const core_proto::Vector& upper;
    Bounds& bounds;
  } kinds[] = {{request.soft_vel_lower_limit(), request.soft_vel_upper_limit(), dynamics.velocity},
               {request.soft_acc_lower_limit(), request.soft_acc_upper_limit(), dynamics.acceleration},
               {request.soft_jerk_lower_limit(), request.soft_jerk_upper_limit(), dynamics.jerk}};
  for (const auto& kind : kinds) {
    Bounds sent = read_bounds(kind.lower, kind.upper);
    if (sent.lower.empty() && sent.upper.empty()) {
      continue;
    }
    check_bounds(chain, sent, joints, kCode);
    if (!std::all_of(sent.lower.begin(), sent.lower.end(), [](double value) { return value <= -kSlowest; }) ||
        !std::all_of(sent.upper.begin(), sent.upper.end(), [](double value) { return value >= kSlowest; })) {
      throw BadRequest(chain + ": limits keep a joint from moving both ways", kCode);
    }
    kind.bounds = std::move(sent);
  }
}

planning::Settings PlannerSettings::settings() const {
  planning::Settings settings;
  settings.ik.col_aware_ik_timeout = inverse_.col_aware_ik_timeout();
  settings.ik.seed_type = static_cast<planning::SeedType>(inverse_.seed_type());
  settings.ik.col_aware_ik_joint_limit_bias = inverse_.col_aware_ik_joint_limit_bias();
  settings.ik.translation_eps = to_array(inverse_.translation_eps());
  settings.ik.rotation_eps = to_array(inverse_.rotation_eps());
  settings.ik.enable_collision_check_log = inverse_.enable_collision_check_log();
  settings.sampler.state_check_type = static_cast<planning::StateDistance>(sampler_.state_check_type());
  settings.sampler.state_check_resolution = sampler_.state_check_resolution();
  settings.sampler.interpolate = sampler_.interpolate();
  settings.sampler.interpolation_cnt = sampler_.interpolation_cnt();
  settings.sampler.simplify = sampler_.simplify();
  settings.sampler.max_simplification_time = sampler_.max_simplification_time();
  settings.sampler.termination_condition_type =
      static_cast<planning::Termination>(sampler_.termination_condition_type());
  settings.sampler.max_planning_time = sampler_.max_planning_time();
  settings.timing.min_move_time = trajectory_.min_move_time().value();
  settings.timing.move_line_intermediate_point = trajectory_.move_line_intermidiate_point().value();
  settings.timing.way_point_plan_expected_time = trajectory_.way_point_plan_expected_time().value();
  settings.collision = {collision_.disable_self_collision_check(), collision_.disable_env_collision_check()};
  settings.feasibility = {validity_.disable_collision_check(), validity_.disable_joint_limit_check(),
                          validity_.disable_velocity_feasibility_check()};
  settings.line = {static_cast<planning::LinePrimitive>(line_.line_check_primitive_type()),
                   line_.cynlider_prim_radius(), line_.line_prim_curvature()};
  settings.ik_limits = inverse_limits_;
  settings.sampler_limits = sampler_limits_;
  settings.dynamics = dynamics_;
  return settings;
}

void PlannerSettings::write(PlannerStatus& status) const {
  *status.mutable_ik_solver_config() = inverse_;
  *status.mutable_motion_planner_config() = sampler_;
  *status.mutable_traj_planner_prop() = trajectory_;
  write_limits(hard_limits_, *status.mutable_hard_joint_lower_limit(), *status.mutable_hard_joint_upper_limit());
  write_limits(inverse_limits_, *status.mutable_ik_joint_lower_limit(), *status.mutable_ik_joint_upper_limit());
  write_limits(sampler_limits_, *status.mutable_sample_planner_lower_limit(),
               *status.mutable_sample_planner_upper_limit());
}

}  // namespace norvik::simulator
