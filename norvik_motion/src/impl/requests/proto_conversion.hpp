#pragma once

#include <vector>

#include <norvik_sdk/types.hpp>

#include "norvik/kelvorn_proto/common_def.pb.h"
#include "norvik/spatial_proto/pose.pb.h"

namespace norvik::sdk {

// A pose as seven numbers is [x, y, z, qx, qy, qz, qw].

void convert_to_pose_proto(const Pose& pose, spatial_proto::Pose& message);
// The identity for other than seven numbers.
void convert_to_pose_proto(const std::vector<double>& pose, spatial_proto::Pose& message);
Pose convert_custom_pose(const std::vector<double>& pose);

std::vector<double> convert_pose_to_vec(const Pose& pose);
std::vector<double> convert_pose_to_vec(const spatial_proto::Pose& message);

void convert_to_vector(const std::vector<double>& values, core_proto::Vector& message);

// Appends the values to the positions.
void convert_to_body_state(const std::vector<double>& positions, kelvorn_proto::JointState& message);

// WORLD for "world" and "map", else BASE.
kelvorn_proto::MapFrame resolve_map_frame(const std::string& name);

}  // namespace norvik::sdk
