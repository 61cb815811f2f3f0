#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Checks that the operations share; false with a log line each.

// Values of RobotStates::get_type().
inline constexpr int32_t kPoseKind = 0;
inline constexpr int32_t kJointKind = 1;
inline constexpr int32_t kRobotKind = 2;

inline constexpr size_t kPoseSize = 7;

bool check_timeout(double timeout_s);

// A reference is a whole robot, or none.
bool check_reference(const std::shared_ptr<RobotStates>& reference);

bool check_pose_size(const std::vector<double>& pose);

// Empty for what is no JointStates.
std::shared_ptr<JointStates> as_joint_states(const std::shared_ptr<RobotStates>& state);

}  // namespace norvik::sdk
