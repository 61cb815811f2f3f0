#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/navigation_types.hpp>

namespace norvik::sdk {

// Checks of arguments. Each logs its own line when it says no.

// Finite numbers and an orientation.
bool is_pose(const Pose& pose);

// A pose to drive to and the time for it, as `operation` got them.
bool check_goal(const char* operation, const Pose& pose, float timeout_s);
bool check_pose(const char* operation, const Pose& pose);

// The arguments of a task, in the order of the checks: the text for the caller of the first that is wrong, or nullptr.
const char* check_trajectory(const std::vector<Pose>& poses, const std::string& frame, float speed_ratio);
const char* check_waypoints(const std::vector<Waypoint>& waypoints, const std::string& frame);
const char* check_target(const Pose& pose, const std::string& frame, float speed_ratio);

// "map" or "base_link".
bool is_navigation_frame(const std::string& frame);

}  // namespace norvik::sdk
