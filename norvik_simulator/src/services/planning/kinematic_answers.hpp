#pragma once

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "planning/planner.hpp"
#include "services/planning/planner_state.hpp"

namespace norvik::simulator {

// Poses of the links that the request names. Throws BadRequest.
void write_link_poses(const planning::Planner& planner, const kelvorn_proto::ForwardKinematicRequest& request,
                      const planning::RobotState& now, google::protobuf::Map<std::string, spatial_proto::Pose>& poses);

// The answer of the kinematic service, which computes at once and beside the tasks. Any thread.
kelvorn_proto::KinematicResponse answer_kinematics(const kelvorn_proto::KinematicRequest& request,
                                                   const planning::Planner& planner, const planning::RobotState& now,
                                                   const PlannerState::Snapshot& snapshot);

// The answer that says why there is no other.
kelvorn_proto::KinematicResponse refuse_kinematics(const kelvorn_proto::KinematicRequest& request,
                                                   const std::string& reason);

}  // namespace norvik::simulator
