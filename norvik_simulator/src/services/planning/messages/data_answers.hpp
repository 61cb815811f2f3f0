#pragma once

#include "norvik/kelvorn_proto/common_interface.pb.h"
#include "planning/planner.hpp"

namespace norvik::simulator {

// What the planning service tells of the robot: links, chains, tools, and what is on it now. Pure.
kelvorn_proto::DataResponse answer_data(const kelvorn_proto::GetDataRequest& request,
                                        const planning::PlanningModel& model, const RobotModel& robot,
                                        const planning::Scene& scene);

kelvorn_proto::DataResponse refuse_data(const kelvorn_proto::GetDataRequest& request, const std::string& reason);

}  // namespace norvik::simulator
