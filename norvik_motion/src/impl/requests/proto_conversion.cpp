#include "impl/requests/proto_conversion.hpp"

#include <string>

namespace norvik::sdk {

void convert_to_pose_proto(const Pose& pose, spatial_proto::Pose& message) {
  auto& position = *message.mutable_position();
  position.set_x(pose.x);
  position.set_y(pose.y);
  position.set_z(pose.z);
  auto& orientation = *message.mutable_orientation();
  orientation.set_x(pose.qx);
  orientation.set_y(pose.qy);
  orientation.set_z(pose.qz);
  orientation.set_w(pose.qw);
}

void convert_to_pose_proto(const std::vector<double>& pose, spatial_proto::Pose& message) {
  convert_to_pose_proto(convert_custom_pose(pose), message);
}

Pose convert_custom_pose(const std::vector<double>& pose) {
  constexpr size_t kPoseSize = 7;
  return pose.size() == kPoseSize ? Pose{pose[0], pose[1], pose[2], pose[3], pose[4], pose[5], pose[6]} : Pose{};
}

std::vector<double> convert_pose_to_vec(const Pose& pose) {
  return {pose.x, pose.y, pose.z, pose.qx, pose.qy, pose.qz, pose.qw};
}

std::vector<double> convert_pose_to_vec(const spatial_proto::Pose& message) {
  const auto& position = message.position();
  const auto& orientation = message.orientation();
  return {position.x(), position.y(), position.z(), orientation.x(), orientation.y(), orientation.z(), orientation.w()};
}

void convert_to_vector(const std::vector<double>& values, core_proto::Vector& message) {
  message.mutable_data()->Add(values.begin(), values.end());
}

void convert_to_body_state(const std::vector<double>& positions, kelvorn_proto::JointState& message) {
  convert_to_vector(positions, *message.mutable_positions());
}

kelvorn_proto::MapFrame resolve_map_frame(const std::string& name) {
  return name == "world" || name == "map" ? kelvorn_proto::WORLD : kelvorn_proto::BASE;
}

}  // namespace norvik::sdk
