#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/navigation_types.hpp>

#include "norvik/kelvorn_proto/kelvorn_pns_interface.pb.h"
#include "norvik/kelvorn_proto/pns_interface.pb.h"

namespace norvik::sdk {

using NaviRequest = kelvorn_proto::NavigationRequest;
using NaviPlanRequest = kelvorn_proto::NavigationPlanRequest;

// The messages of the navigation operations, made of checked arguments. Pure.

void fill_pose(const Pose& pose, spatial_proto::Pose& message);

// A goal. A frame other than "map" and "base_link" is left to the service.
std::shared_ptr<NaviRequest> generate_navi_request(const std::string& task_id, const Pose& pose, bool check_collision,
                                                   const std::string& frame, bool omni);

// The end of whatever the service does.
std::shared_ptr<NaviRequest> generate_stop_request(const std::string& task_id);

// A goal that is watched.
std::shared_ptr<NaviPlanRequest> generate_navi_v2_request(const std::string& task_id, const Pose& pose,
                                                          const std::string& pose_frame, bool check_collision,
                                                          bool omni);

// A velocity for `duration_s`.
struct NaviVelocity {
  double vx;
  double vy;
  double wz;
  double duration_s;
};
std::shared_ptr<NaviPlanRequest> generate_velocity_request(const std::string& task_id, const NaviVelocity& velocity,
                                                           bool check_collision);

// One target for each pose, in order; an empty list gives a request with the id alone.
std::shared_ptr<NaviPlanRequest> generate_traj_navi_request(const std::string& task_id, const std::vector<Pose>& poses,
                                                            bool check_collision, const std::string& frame,
                                                            float speed_ratio, bool waypoint_plan, bool omni);

// The same for waypoints with tolerances and scales of their own.
std::shared_ptr<NaviPlanRequest> generate_multi_waypoints_navi_request(const std::string& task_id,
                                                                       const std::vector<Waypoint>& waypoints,
                                                                       bool check_collision, const std::string& frame,
                                                                       bool waypoint_plan, bool omni);

// A target that may be replaced.
std::shared_ptr<NaviPlanRequest> generate_target_navi_request(const std::string& task_id, const Pose& pose,
                                                              const std::string& frame, float speed_ratio,
                                                              bool check_collision);

// Whether there is a way from `start` to `goal`.
std::shared_ptr<NaviRequest> generate_evaluate_request(const std::string& task_id, const Pose& goal, const Pose& start);

// A box on a link of the robot, and its removal.
std::shared_ptr<NaviRequest> generate_attach_request(const std::string& task_id, const BoxInfo& box,
                                                     const std::string& object_name,
                                                     const std::vector<std::string>& ignore_links);
std::shared_ptr<NaviRequest> generate_detach_request(const std::string& task_id, const std::string& object_name);

}  // namespace norvik::sdk
