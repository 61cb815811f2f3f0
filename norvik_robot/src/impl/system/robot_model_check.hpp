#pragma once

#include <atomic>

#include <norvik_sdk/types.hpp>

#include "norvik/system_proto/mission_manager_proto/onboard_config.pb.h"

namespace norvik::sdk {

// Warns when the robot on the network is of another model than the facade that the program uses: once, until the right
// one reports. Any thread.
class RobotModelCheck {
 public:
  using RobotType = system_proto::mission_manager_proto::OnboardConfig::RobotType;

  // The facade's model. Before, every robot is right.
  void expect(MachineType facade);

  // What the robot tells of itself. A type that is neither model is not judged.
  void see(RobotType robot);

 private:
  std::atomic<int> expected_{-1};
  std::atomic<bool> warned_{false};
};

}  // namespace norvik::sdk
