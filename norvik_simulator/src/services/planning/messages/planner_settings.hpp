#pragma once

#include <map>
#include <string>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "planning/basis/planning_model.hpp"
#include "planning/basis/planning_settings.hpp"

namespace norvik::simulator {

using BoundsByChain = std::map<std::string, planning::Bounds>;

// The configuration of the planning service: what requests change, what every status reports. A value.
class PlannerSettings {
 public:
  // What the planner does by itself, within the limits of the model's joints.
  explicit PlannerSettings(const planning::PlanningModel& model);

  // Takes over everything that the request sets. Throws BadRequest, and changes nothing, when any of it is refused.
  void apply(const kelvorn_proto::ConfigSettingRequest& request);
  // Fills in what a status tells of it.
  void write(kelvorn_proto::PlannerStatus& status) const;

  // The same as the planner takes it.
  planning::Settings settings() const;

 private:
  void set_records(const planning::Settings& settings);
  void apply_records(const kelvorn_proto::ConfigSettingRequest& request);
  void apply_limits(const kelvorn_proto::ConfigSettingRequest& request);
  void apply_feasibility(const kelvorn_proto::setFeasibilityBoundRequest& request);

  kelvorn_proto::IKSolverConfig inverse_;
  kelvorn_proto::MotionPlannerConfig sampler_;
  kelvorn_proto::TrajPlannerProp trajectory_;
  kelvorn_proto::setCollisionCheckOption collision_;
  kelvorn_proto::setTrajValidCheckOption validity_;
  kelvorn_proto::setLineTrajCheckPrimitive line_;
  BoundsByChain hard_limits_;
  BoundsByChain inverse_limits_;
  BoundsByChain sampler_limits_;
  std::map<std::string, planning::DynamicBounds> dynamics_;  // Of the chains for which they were set.
};

}  // namespace norvik::simulator
