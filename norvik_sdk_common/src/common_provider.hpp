#pragma once

#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Process-wide slots through which the facades use each other without knowing each other. Empty until the owner's
// initialisation fills them, which must come before the reader's use; test a slot before calling it.

// Filled by the whole-body layer, read by motion planning.
struct JointStateProvider {
  // Joint states of every group, by group name.
  static std::function<ControlStatus(std::unordered_map<std::string, JointStateMessage>&)>
      get_whole_body_joint_state_func_;
  // Positions from group names and joint names.
  static std::function<std::vector<double>(const std::vector<std::string>&, const std::vector<std::string>&)>
      get_joint_positions_func_;
};

// Filled by the whole-body layer, read by motion planning.
struct JointPositionControlProvider {
  // Positions, group names, joint names, blocking, speed (rad/s), time-out (s).
  static std::function<ControlStatus(const std::vector<double>&, const std::vector<std::string>&,
                                     const std::vector<std::string>&, bool, double, double)>
      set_joint_positions_func_;
};

// Filled by motion planning, read by the whole-body layer.
struct WholeBodyJointProvider {
  // Blocking, time-out (s), speed (rad/s), a Parameter behind the pointer to void.
  static std::function<MotionStatus(bool, double, double, std::shared_ptr<void>)> move_whole_body_joint_zero_func_;
};

// Filled by navigation, read by motion planning.
struct BaseStateProvider {
  // Pose of the base as seven numbers.
  static std::function<std::vector<double>()> get_base_state_func_;
};

}  // namespace norvik::sdk
