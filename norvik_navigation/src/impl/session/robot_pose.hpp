#pragma once

#include <mutex>

#include <norvik_sdk/motion.hpp>

namespace norvik::sdk {

// The newest pose of the robot in the map. Any thread; a reader never sees half of one.
class RobotPose {
 public:
  void set(const Pose& pose, double time_s) {
    const std::lock_guard<std::mutex> lock(mutex_);
    robot_pose_ = pose;
    robot_pose_time_ = time_s;
  }

  Pose get() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return robot_pose_;
  }

 private:
  mutable std::mutex mutex_;
  Pose robot_pose_{0.0, 0.0, 0.0, 0.0, 0.0, 0.0, 0.0};  // No pose: its quaternion is none.
  double robot_pose_time_ = 0.0;                        // Of the message, seconds since the Unix epoch.
};

}  // namespace norvik::sdk
