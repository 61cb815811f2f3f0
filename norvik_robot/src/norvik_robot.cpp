#include <norvik_sdk/norvik_robot.hpp>

#include "impl/norvik_robot_k2.hpp"
#include "impl/norvik_robot_r5.hpp"
#include "logger.hpp"
#include "sdk_log.hpp"
#include "version_notifier.hpp"

namespace norvik::sdk {

NorvikRobot& NorvikRobot::get_instance(MachineType machine_type) {
  Logger::get_instance();  // Made before the robots and so destroyed after them: they log to their end.
  if (machine_type == MachineType::R5) {
    static r5::NorvikRobotR5 robot;
    return robot;
  }
  if (machine_type != MachineType::K2) {
    SDK_LOG(error) << "ERROR: Invalid machine type: " << static_cast<int32_t>(machine_type);
  }
  static k2::NorvikRobotK2 robot;
  return robot;
}

void NorvikRobot::notify_new_sdk_version_if_any_async() { ::norvik::sdk::notify_new_sdk_version_if_any_async(); }

}  // namespace norvik::sdk
