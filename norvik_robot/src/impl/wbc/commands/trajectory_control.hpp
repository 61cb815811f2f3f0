#pragma once

#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/trajectory_rules.hpp"
#include "impl/wbc/commands/wbc_modules.hpp"
#include "impl/wbc/common/command_wait.hpp"

namespace norvik::sdk {

// Whole trajectories, and stopping what moves. Safe from any thread; without modules commands answer INIT_FAILED after
// the checks that can be made without.
class TrajectoryControl {
 public:
  explicit TrajectoryControl(const WbcModulesSlot& modules) : modules_(modules) {}

  // Requested. `blocking` waits for every group to arrive, at most the trajectory's own time and 5 s.
  ControlStatus execute_joint_trajectory(Trajectory trajectory, bool blocking) const;

  // Published.
  ControlStatus set_joint_commands_batch(const Trajectory& trajectory) const;

  // One value per group, in order.
  std::vector<TrajectoryControlStatus> check_trajectory_execution_status(
      const std::vector<std::string>& joint_groups) const;

  // SUCCESS when the controller answered that all groups stop, TIMEOUT when not.
  ControlStatus stop_trajectory_execution() const;

  // Ask the controller to stop one group, or all. False without an answer; its errors are in `error_info`.
  bool stop_current_action(const std::string& group, ErrorInfo& error_info, int timeout_s) const;
  bool stop_all_action(ErrorInfo& error_info, int timeout_s) const;

 private:
  ControlStatus prepare_trajectory(Trajectory& trajectory, const char* operation, GroupTrajectoryMap& groups) const;
  TargetProtoBuilder::TargetPtr build_trajectory_target(const GroupTrajectoryMap& groups) const;
  ControlStatus wait_for_trajectory(MotionsUnderWay::Motion& motion, SteadyTime start, double timeout_s,
                                    const std::vector<std::string>& groups) const;
  TrajectoryControlStatus check_group_execution(const std::string& group) const;
  bool request_stop(const std::string& group, ErrorInfo& error_info, int timeout_s, const char* operation) const;

  const WbcModulesSlot& modules_;
};

}  // namespace norvik::sdk
