#include "impl/system/device_info.hpp"

namespace norvik::sdk {
namespace {

using system_proto::mission_manager_proto::OnboardConfig;

const char* model_name(OnboardConfig::RobotType type) {
  switch (type) {
    case OnboardConfig::K2:
      return "K2";
    case OnboardConfig::R5:
      return "R5";
    case OnboardConfig::Q7:
      return "Q7";
    default:
      return "UNKNOWN";
  }
}

}  // namespace

DeviceInfo default_device_info() {
  DeviceInfo info;
  info.manufacturer = "Norvik";
  return info;
}

DeviceInfo device_info_from(const OnboardConfig& config) {
  DeviceInfo info = default_device_info();
  info.model = model_name(config.robot_type());
  info.serial_number = config.robot_serial_number();
  info.hardware_version = config.robot_hardware_version();
  info.software_version = config.mainline_version();
  return info;
}

}  // namespace norvik::sdk
