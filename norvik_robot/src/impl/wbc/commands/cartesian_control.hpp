#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/wbc_modules.hpp"

namespace norvik::sdk {

// Cartesian set-points of the end effectors, and the poses that the controller reports. Safe from any thread.
class CartesianControl {
 public:
  explicit CartesianControl(const WbcModulesSlot& modules) : modules_(modules) {}

  // Poses as [x, y, z, qx, qy, qz, qw]; no reference frames means "world" for all.
  ControlStatus set_end_effector_command(const std::vector<std::vector<double>>& poses,
                                         const std::vector<std::string>& end_effector_frames,
                                         const std::vector<std::string>& reference_frames) const;
  ControlStatus clear_end_effector_command() const;

  // Under "lee_pose", "ree_pose" and "head_pose"; empty before the first report.
  std::unordered_map<std::string, std::vector<double>> get_wbc_end_effector_poses() const;

 private:
  const WbcModulesSlot& modules_;
};

}  // namespace norvik::sdk
