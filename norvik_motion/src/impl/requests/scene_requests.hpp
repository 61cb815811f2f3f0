#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/tables/motion_plan_data_checker.hpp"
#include "norvik/kelvorn_proto/mps_interface.pb.h"

namespace norvik::sdk {

// Where an object belongs: "map" is the environment, anything else the robot.
inline constexpr const char* kMapTarget = "map";
inline constexpr const char* kRobotTarget = "robot";

// An object as the caller tells it; the public header has units and ranges.
struct SceneObject {
  std::string object_id;
  std::string object_type;
  std::vector<double> pose;
  std::array<double, 3> scale{};
  std::string key;
  std::string parent_frame;
  std::string ee_frame;
  std::vector<double> reference_joint_positions;
  std::vector<double> reference_base_pose;
  std::vector<std::string> ignore_links;
  double safe_margin = 0.0;
  double resolution = 0.0;
};

// What the builders ask about the robot. `is_link` may ask the service.
struct SceneChecks {
  const DataChecker& checker;
  std::function<bool(const std::string&)> is_link;
};

MotionStatus create_object_prop(const SceneChecks& checks, const SceneObject& object, kelvorn_proto::ObjectProp& prop);

// Completes the request that adds the object to `target`: SUCCESS, INVALID_INPUT, or UNSUPPORTED_FUNCRION for kinds
// that the robot cannot hold; with a log line each.
MotionStatus fill_add_object(const SceneChecks& checks, const std::string& target, const SceneObject& object,
                             kelvorn_proto::MotionPlanServerRequest& request);

// INVALID_INPUT, with a log line, without ids.
MotionStatus fill_remove_objects(const std::vector<std::string>& ids, bool remove_all,
                                 kelvorn_proto::removeCollisionObjectRequest& request);

}  // namespace norvik::sdk
