#pragma once

#include <functional>
#include <string>
#include <vector>

#include "norvik/kelvorn_proto/common_interface.pb.h"
#include "planning/planner.hpp"

namespace norvik::simulator {

// What a camera measures now, as points in its optical frame.
struct DepthCloud {
  std::string link;  // The optical frame.
  std::vector<KDL::Vector> points;
};
using TakeDepth = std::function<DepthCloud(kelvorn_proto::CameraType)>;

// Makes the change of the scene that a request asks for, and looks at the depth camera if it wants to. Throws
// BadRequest; `scene` may be half changed then.
void change_scene(const kelvorn_proto::CommonRequest& request, const planning::PlanningModel& model,
                  const planning::RobotState& now, const TakeDepth& take_depth, planning::Scene& scene);

}  // namespace norvik::simulator
