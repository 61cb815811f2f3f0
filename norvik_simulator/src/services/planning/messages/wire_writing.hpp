#pragma once

#include <cstddef>
#include <string>

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "planning/planner.hpp"

// What the planner has found, as messages. Pure.
namespace norvik::simulator {

void write_pose(const KDL::Frame& frame, spatial_proto::Pose& pose);
// The joints of every chain that may move, point by point.
tavrinox_proto::TavrinoXTarget make_target(const planning::Path& path, const planning::PlanningModel& model);
// The same in at most `room` bytes, with fewer points if need be; `note` says so then. Never less than start and end.
tavrinox_proto::TavrinoXTarget make_target_within(size_t room, const planning::Path& path,
                                                  const planning::PlanningModel& model, std::string& note);
core_proto::Matrix make_matrix(const planning::Jacobian& jacobian);
// Joint positions of each chain that was moved.
void write_solution(const planning::IkResult& result, const planning::PlanningModel& model,
                    google::protobuf::Map<std::string, core_proto::Vector>& solution);
void write_chain(const planning::Chain& chain, const std::string& tool, kelvorn_proto::ChainProp& message);

}  // namespace norvik::simulator
