#pragma once

#include <set>
#include <string>
#include <vector>

#include <google/protobuf/map.h>
#include <norvik_sdk/motion_plan_config.hpp>

#include "norvik/core_proto/math.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"

namespace norvik::sdk {

using LimitMap = google::protobuf::Map<std::string, core_proto::Vector>;

// Limits of those of `chains` that both maps know, in the order of the set.
std::vector<KinematicsBoundary> get_kinematics_boundary(const std::set<std::string>& chains, const LimitMap& lower,
                                                        const LimitMap& upper);

// Puts what a status message reports into `config`; what it lacks stays. An enumeration value that is none is logged
// and leaves the old one.
void take_over_config(const kelvorn_proto::PlannerStatus& message, const std::set<std::string>& chains,
                      MotionPlanConfig& config);

}  // namespace norvik::sdk
