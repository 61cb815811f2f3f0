#pragma once

#include <string>
#include <kdl/frames.hpp>

#include "navigation/task.hpp"
#include "norvik/kelvorn_proto/kelvorn_pns_interface.pb.h"
#include "norvik/kelvorn_proto/pns_interface.pb.h"

namespace norvik::simulator {

// The readers below check what came over the wire. They return the reason of a refusal, empty when there is none. Pure.

std::string read_pose(const spatial_proto::Pose& message, KDL::Frame& pose);
std::string read_planar_pose(const spatial_proto::Pose& message, PlanarPose& pose);

// One goal.
std::string read_task(const std::string& id, const kelvorn_proto::NavigationMotionPlanReq& request, Task& task);
// Goals, a trajectory or a velocity, as its targets say.
std::string read_task(const kelvorn_proto::NavigationPlanRequest& request, Task& task);

}  // namespace norvik::simulator
