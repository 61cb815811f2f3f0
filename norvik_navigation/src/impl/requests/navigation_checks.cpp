#include "impl/requests/navigation_checks.hpp"

#include <algorithm>
#include <array>
#include <cmath>

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr char kInvalidPose[] = "invalid pose";

bool all_finite(std::initializer_list<double> values) {
  return std::all_of(values.begin(), values.end(), [](double value) { return std::isfinite(value); });
}

const char* check_speed_ratio(float speed_ratio) {
  if (speed_ratio > 0.0F && speed_ratio <= 1.0F) {
    return nullptr;
  }
  SDK_LOG(error) << "invalid speed_ratio: " << speed_ratio;
  return "invalid speed_ratio";
}

const char* check_frame(const std::string& frame) {
  if (is_navigation_frame(frame)) {
    return nullptr;
  }
  SDK_LOG(error) << "invalid frame: " << frame;
  return "invalid frame";
}

// `what` is a pose, or has one in it.
const char* check_point(const Pose& pose) { return is_pose(pose) ? nullptr : kInvalidPose; }
const char* check_point(const Waypoint& point) {
  const bool good = is_pose(point.pose) && all_finite({point.pos_err_x, point.pos_err_y, point.ori_err, point.vel_scale,
                                                       point.acc_scale, point.jerk_scale});
  return good ? nullptr : "invalid waypoint";
}

template <typename Point>
const char* check_points(const std::vector<Point>& points) {
  for (size_t i = 0; i < points.size(); ++i) {
    if (const char* const reason = check_point(points[i])) {
      SDK_LOG(error) << reason << " at index " << i << ": numbers must be finite, the orientation not zero";
      return reason;
    }
  }
  return nullptr;
}

}  // namespace

bool is_pose(const Pose& pose) {
  return all_finite({pose.x, pose.y, pose.z, pose.qx, pose.qy, pose.qz, pose.qw}) &&
         (pose.qx != 0.0 || pose.qy != 0.0 || pose.qz != 0.0 || pose.qw != 0.0);
}

bool is_navigation_frame(const std::string& frame) { return frame == "map" || frame == "base_link"; }

bool check_pose(const char* operation, const Pose& pose) {
  if (is_pose(pose)) {
    return true;
  }
  SDK_LOG(error) << operation << " invalid pose: numbers must be finite, the orientation not zero";
  return false;
}

bool check_goal(const char* operation, const Pose& pose, float timeout_s) {
  if (!check_pose(operation, pose)) {
    return false;
  }
  if (!std::isfinite(timeout_s)) {
    SDK_LOG(error) << operation << " invalid timeout: " << timeout_s;
    return false;
  }
  return true;
}

const char* check_trajectory(const std::vector<Pose>& poses, const std::string& frame, float speed_ratio) {
  if (poses.empty()) {
    SDK_LOG(error) << "The trajectory list is empty. Navigation aborted! ";
    return "trajectory list is empty";
  }
  const char* reason = check_speed_ratio(speed_ratio);
  reason = reason == nullptr ? check_frame(frame) : reason;
  return reason == nullptr ? check_points(poses) : reason;
}

const char* check_waypoints(const std::vector<Waypoint>& waypoints, const std::string& frame) {
  if (waypoints.empty()) {
    SDK_LOG(error) << "The waypoints list is empty. Navigation aborted! ";
    return "waypoints list is empty";
  }
  const char* const reason = check_frame(frame);
  return reason == nullptr ? check_points(waypoints) : reason;
}

const char* check_target(const Pose& pose, const std::string& frame, float speed_ratio) {
  const char* reason = check_speed_ratio(speed_ratio);
  reason = reason == nullptr ? check_frame(frame) : reason;
  if (reason != nullptr) {
    return reason;
  }
  return check_pose("set_navigation_target", pose) ? nullptr : kInvalidPose;
}

}  // namespace norvik::sdk
