#pragma once

#include <cstddef>
#include <string>
#include <tuple>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"

namespace norvik::sdk {

// What the last status of a task, or an answer of the kinematic service, holds. Pure but for log lines. With a status
// other than SUCCESS, which then is FAULT, the second element is empty.

using DoubleRows = std::vector<std::vector<double>>;
using RowsByGroup = std::unordered_map<std::string, DoubleRows>;
using ValuesByChain = std::unordered_map<std::string, std::vector<double>>;

// SUCCESS for a task that has finished.
MotionStatus finish_status(const kelvorn_proto::PlannerStatus& status);

// Joint positions of each point, by group.
RowsByGroup convert_target_to_joint_trajectory(const tavrinox_proto::TavrinoXTarget& target);

std::tuple<MotionStatus, RowsByGroup> parse_plan_result(const kelvorn_proto::PlannerStatus& status);
std::tuple<MotionStatus, std::vector<double>> parse_fk_result(const kelvorn_proto::PlannerStatus& status);
std::tuple<MotionStatus, ValuesByChain> parse_ik_result(const kelvorn_proto::PlannerStatus& status);
std::tuple<MotionStatus, DoubleRows> parse_jacobian_result(const kelvorn_proto::KinematicResponse& response);

// One bool for each of the `states` that were asked about.
std::tuple<MotionStatus, std::vector<bool>> parse_collision_result(const kelvorn_proto::PlannerStatus& status,
                                                                   size_t states);

}  // namespace norvik::sdk
