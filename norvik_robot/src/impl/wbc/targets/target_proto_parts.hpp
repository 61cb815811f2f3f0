#pragma once

#include "norvik/core_proto/math.pb.h"
#include "norvik/spatial_proto/pose.pb.h"
#include "norvik/tavrinox_proto/tavrinox_command.pb.h"

namespace norvik::sdk::target_proto {

// Pieces of the wire message, from numbers and records.

inline void set_vector(double x, double y, double z, core_proto::Vector3& vector) {
  vector.set_x(x);
  vector.set_y(y);
  vector.set_z(z);
}

// `numbers` are x, y, z, qx, qy, qz, qw.
inline void set_pose(const double* numbers, spatial_proto::Pose& pose) {
  core_proto::Point& position = *pose.mutable_position();
  position.set_x(numbers[0]);
  position.set_y(numbers[1]);
  position.set_z(numbers[2]);
  core_proto::Quaternion& orientation = *pose.mutable_orientation();
  orientation.set_x(numbers[3]);
  orientation.set_y(numbers[4]);
  orientation.set_z(numbers[5]);
  orientation.set_w(numbers[6]);
}

// For every record with position, velocity, acceleration and effort.
template <typename Command>
void add_joint_command(const Command& command, tavrinox_proto::GroupCommand& group_command) {
  tavrinox_proto::JointCommand& joint_command = *group_command.add_joint_commands();
  joint_command.set_position(command.position);
  joint_command.set_velocity(command.velocity);
  joint_command.set_acceleration(command.acceleration);
  joint_command.set_effort(command.effort);
}

}  // namespace norvik::sdk::target_proto
