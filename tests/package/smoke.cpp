// Links and runs against the installed library without a robot: the only answer it can get is "not initialised".
#include <iostream>

#include <norvik_sdk/norvik_sdk.hpp>

int main() {
  using namespace norvik::sdk;
  auto& robot = NorvikRobot::get_instance(MachineType::K2);
  const ControlStatus status = robot.set_joint_positions({0.0, 0.0}, {"head"}, {}, false);
  std::cout << NORVIK_SDK_VERSION << ": status " << static_cast<int>(status) << " without init\n";
  return status == ControlStatus::INIT_FAILED ? 0 : 1;
}
