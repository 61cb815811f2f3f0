#pragma once

#include <cstdint>
#include <string>

namespace norvik::sdk {

struct DeviceInfo {
  std::string model;  // "K2", "R5", another robot's name, or "UNKNOWN"
  std::string serial_number;
  std::string software_version;
  std::string hardware_version;
  std::string manufacturer = "Norvik";
};

// The battery, as its management system tells it.
struct BmsInfo {
  float voltage = 0.0F;      // volts
  float current = 0.0F;      // amperes
  float soc = 0.0F;          // state of charge, percent
  float temperature = 0.0F;  // degrees Celsius
  uint8_t charge_status = 0;
  uint8_t protect_state = 0;
  float capacity = 0.0F;  // ampere hours
};

struct LogInfo {
  std::string level;    // name of a LogLevel
  std::string content;  // text of the record
};

}  // namespace norvik::sdk
