#include "impl/system/robot_model_check.hpp"

#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

using system_proto::mission_manager_proto::OnboardConfig;

const char* name_of(RobotModelCheck::RobotType type) { return type == OnboardConfig::K2 ? "K2" : "R5"; }

}  // namespace

void RobotModelCheck::expect(MachineType facade) {
  expected_ = facade == MachineType::R5 ? OnboardConfig::R5 : OnboardConfig::K2;
}

void RobotModelCheck::see(RobotType robot) {
  const int expected = expected_;
  if (expected < 0 || (robot != OnboardConfig::K2 && robot != OnboardConfig::R5)) {
    return;
  }
  if (robot == expected) {
    warned_ = false;
  } else if (!warned_.exchange(true)) {
    SDK_LOG(warning) << "the robot is a " << name_of(robot) << ", this program uses the facade of "
                     << name_of(static_cast<RobotType>(expected)) << ": groups, joints and controllers differ";
  }
}

}  // namespace norvik::sdk
