#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/joint_command_rules.hpp"
#include "impl/wbc/commands/wbc_modules.hpp"
#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

// Single-point joint commands. Safe from any thread; without modules they answer INIT_FAILED after the checks that can
// be made without.
class JointControl {
 public:
  explicit JointControl(const WbcModulesSlot& modules) : modules_(modules) {}

  // Published, one set-point per joint. Grippers in metres.
  ControlStatus set_joint_commands(const std::vector<JointCommand>& joint_commands,
                                   const std::vector<std::string>& joint_groups,
                                   const std::vector<std::string>& joint_names, double time_from_start_s) const;

  // Requested, with the time computed from the farthest joint and the speed. Grippers in millimetres. `blocking` waits
  // for the first group to arrive; a time-out then stops all groups.
  ControlStatus set_joint_positions(const std::vector<double>& joint_positions,
                                    const std::vector<std::string>& joint_groups,
                                    const std::vector<std::string>& joint_names, bool blocking, double speed_rad_s,
                                    double timeout_s) const;

  // The time that one group needs to get to the positions of `commands` at the given speed.
  ControlStatus calculate_move_time(const std::string& group, const std::vector<JointCommand>& commands,
                                    double speed_rad_s, double& time_s) const;

 private:
  ControlStatus prepare_joint_commands(std::vector<JointCommand>& commands,
                                       const std::vector<std::string>& joint_groups,
                                       const std::vector<std::string>& joint_names, JointInfoMap& groups) const;
  ControlStatus prepare_joint_positions(const std::vector<double>& positions,
                                        const std::vector<std::string>& joint_groups,
                                        const std::vector<std::string>& joint_names, double speed_rad_s,
                                        JointInfoMap& groups, double& time_s) const;
  TargetProtoBuilder::TargetPtr build_point_target(const JointInfoMap& groups, double time_from_start_s) const;
  ControlStatus wait_for_positions(MotionsUnderWay::Motion& motion, SteadyTime start, double timeout_s,
                                   const std::vector<std::string>& groups) const;
  void stop_groups(const std::vector<std::string>& groups, double timeout_s) const;

  const WbcModulesSlot& modules_;
};

}  // namespace norvik::sdk
