#pragma once

#include <map>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/tables/motion_plan_data_checker.hpp"
#include "norvik/kelvorn_proto/mps_interface.pb.h"

namespace norvik::sdk {

// Builders of planning requests: pure but for log lines. Each checks its arguments, fills a request that was empty and
// gives SUCCESS, or INVALID_INPUT with a log line.

using PlannerConfig = Parameter;
using ChainWaypoints = std::map<std::string, std::vector<std::vector<double>>>;

enum class TargetType { kJoint = 0, kPose = 1 };

// What all planning requests share.
struct PlanContext {
  std::string reference_frame = "world";  // of pose targets
  std::vector<double> start_joints;       // whole body; empty: as the robot stands
  std::vector<double> start_base;         // seven numbers; empty: as the robot stands
  PlannerConfig config;
};

// One chain to one target. Instantiated for MotionPlanRequest and MoveLineRequest; a second call adds a second chain.
template <typename Request>
MotionStatus create_motion_data(const DataChecker& checker, const std::string& chain, TargetType type,
                                const std::vector<double>& target, const PlanContext& context, Request& request);

MotionStatus convert_to_target_state(const DataChecker& checker, const std::string& chain, TargetType type,
                                     const std::vector<double>& target, const PlanContext& context,
                                     kelvorn_proto::ChainState& state);

// Appends one chain's waypoints.
MotionStatus create_way_point_traj(const DataChecker& checker, const std::string& chain, TargetType type,
                                   const std::vector<std::vector<double>>& waypoints, const PlanContext& context,
                                   kelvorn_proto::MulPointTrajPlanRequest& request);

// A collision-free path. The leg cannot be planned for.
MotionStatus fill_single_chain_path(const DataChecker& checker, const std::string& chain, TargetType type,
                                    const std::vector<double>& target, const PlanContext& context,
                                    kelvorn_proto::MotionPlanRequest& request);
MotionStatus fill_multi_chain_path(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                   const PlanContext& context, kelvorn_proto::MotionPlanRequest& request);

// Straight lines of several chains. Has no options, unlike the form for one chain: the service can tell them apart.
MotionStatus fill_multi_chain_line(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                   const PlanContext& context, kelvorn_proto::MoveLineRequest& request);

// Moves through waypoints. Only the form for one chain marks the start pose of the base as told in BASE.
MotionStatus fill_single_chain_waypoints(const DataChecker& checker, const std::string& chain, TargetType type,
                                         const std::vector<std::vector<double>>& waypoints, const PlanContext& context,
                                         kelvorn_proto::MulPointTrajPlanRequest& request);
MotionStatus fill_multi_chain_waypoints(const DataChecker& checker, const ChainWaypoints& targets, TargetType type,
                                        const PlanContext& context, kelvorn_proto::MulPointTrajPlanRequest& request);

// Puts whole-body joints and a base pose into a state; what is empty is left absent.
void set_robot_state(const std::vector<double>& joints, const std::vector<double>& base,
                     kelvorn_proto::RobotStates& state);

}  // namespace norvik::sdk
