#pragma once

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "planning/planner.hpp"

// What requests of the planning service mean to the planner. Pure; everything throws BadRequest.
namespace norvik::simulator {

KDL::Frame read_pose(const spatial_proto::Pose& pose);
planning::FrameRef read_frame(const kelvorn_proto::ParentFrame& frame);
planning::FrameRef read_frame(kelvorn_proto::MapFrame frame);
// What the state leaves out is as `now`.
planning::RobotState read_state(const kelvorn_proto::RobotStates& state, const planning::RobotState& now);

planning::PlanRequest read_plan(const kelvorn_proto::MotionPlanRequest& request, const planning::RobotState& now);
planning::PlanRequest read_plan(const kelvorn_proto::MoveLineRequest& request, const planning::RobotState& now);
planning::PlanRequest read_plan(const kelvorn_proto::SigPointTrajPlanRequest& request, const planning::RobotState& now);
planning::PlanRequest read_waypoints(const kelvorn_proto::MulPointTrajPlanRequest& request,
                                     const planning::RobotState& now);
planning::IkRequest read_inverse(const kelvorn_proto::InverseKinematicRequest& request,
                                 const planning::RobotState& now);

}  // namespace norvik::simulator
