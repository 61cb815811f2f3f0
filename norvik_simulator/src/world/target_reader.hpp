#pragma once

#include <string>
#include <vector>

#include "model/robot_model.hpp"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "world/group_follower.hpp"
#include "world/planar.hpp"

namespace norvik::simulator {

// The readers below check what came over the wire and turn it into motion. They return the reason of a refusal, empty
// when there is none. Pure.

// `hold` are the positions at which joints stay that the target does not name.
std::string read_group_motion(const GroupModel& group, const std::vector<double>& hold,
                              const tavrinox_proto::TargetGroupTrajectory& target, Motion& motion);

// The motion is in the odometry frame. `from` is where the base is in it: poses relative to the base start there, and
// its yaw decides which way round to turn. `map_from_odom` is where that frame is on the map.
std::string read_chassis_poses(const PlanarPose& from, const PlanarPose& map_from_odom,
                               const tavrinox_proto::TargetTaskTrajectory& target, Motion& motion);
std::string read_chassis_twist(const tavrinox_proto::TargetTaskTrajectory& target, PlanarTwist& twist, double& time_s);

// A pose that a frame of the robot is to take.
struct FrameTarget {
  std::string frame;
  std::string reference;
  double position[3];
  double orientation[4];  // x, y, z, w; a unit quaternion.
};
// Leaves `frames` empty for a target that only clears; `duration_s` is the time the motion may take.
std::string read_frame_targets(const tavrinox_proto::TargetTaskTrajectory& target, std::vector<FrameTarget>& frames,
                               double& duration_s);

// Type, sampling and identity of a motion from the configuration of its target.
std::string read_target_config(const tavrinox_proto::TargetConfig& config, Motion& motion);

}  // namespace norvik::simulator
