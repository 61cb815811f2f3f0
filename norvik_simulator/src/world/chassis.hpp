#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/robot_model.hpp"
#include "world/group_follower.hpp"
#include "world/target_reader.hpp"

namespace norvik::simulator {

// An omnidirectional base on four wheels. It follows poses in the odometry frame, or holds a velocity for a time, and
// never speeds up or brakes harder than its wheels could. Not thread-safe.
class Chassis {
 public:
  // `wheels`: four driven wheels, or four pairs of a steering and a driven joint.
  explicit Chassis(const std::vector<std::string>& wheels);

  bool has_room_for(const Motion& motion) const { return follower_.has_room_for(motion); }
  void go_to(const Motion& motion);
  // Keeps the twist until it is told something else. The target counts as finished after `time_s`.
  void keep_twist(const PlanarTwist& twist, double time_s, const Motion& target);
  // Holds the twist for one step: whoever drives so tells it before each step.
  void drive(const PlanarTwist& twist);
  // Brakes. The pose that it was on the way to stays what the final error is measured from.
  void stop();
  // As a wall does.
  void stop_dead();
  void step(double dt);

  // Targets and stops so far; who drives sees by them that somebody else took over.
  uint64_t commands() const { return commands_; }

  // In the odometry frame, which starts where the base did.
  const PlanarPose& pose() const { return pose_; }
  // In the base's own frame.
  const PlanarTwist& twist() const { return twist_; }
  const std::vector<JointMotion>& wheels() const { return wheels_; }
  const MotionProgress& progress() const { return progress_; }
  double final_error() const { return by_twist_ ? 0.0 : follower_.final_error(); }

 private:
  void follow_poses_from_here();
  void step_twist(double dt);
  void step_pose(double dt);
  void turn_wheels(double dt);

  PlanarPose pose_;
  PlanarTwist twist_;
  GroupFollower follower_;  // Of x, y and yaw.
  uint64_t commands_ = 0;
  bool by_twist_ = false;
  bool driven_ = false;  // The twist lasts for one step.
  PlanarTwist wanted_;
  double time_left_ = 0.0;
  double time_total_ = 0.0;
  std::vector<JointMotion> wheels_;
  bool steered_;
  MotionProgress progress_;
};

}  // namespace norvik::simulator
