#pragma once

#include "norvik/kelvorn_proto/mps_interface.pb.h"
#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "wire/planner_faults.hpp"

namespace norvik::simulator {

// Spoils what a task or an answer brings, as the fault says.
void spoil(TaskFault fault, kelvorn_proto::PlannerStatus& status);
void spoil(TaskFault fault, kelvorn_proto::KinematicResponse& response);

}  // namespace norvik::simulator
