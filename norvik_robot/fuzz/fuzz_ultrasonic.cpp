// Feeds arbitrary text to the reader of ultrasonic reports. It throws nothing; a sample must exist and carry a sensor
// of the robot.
#include <cstdint>
#include <cstdlib>

#include "impl/sensors/sensor_json.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  for (const auto& [type, sample] : norvik::sdk::parse_ultrasonic_report({reinterpret_cast<const char*>(data), size})) {
    if (sample == nullptr || static_cast<uint32_t>(type) > 7) {
      std::abort();
    }
  }
  return 0;
}
