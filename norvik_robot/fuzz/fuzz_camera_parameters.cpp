// Feeds arbitrary text to the reader of the arm cameras' parameters, which throws nothing.
#include <cstdint>

#include "impl/sensors/sensor_json.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  norvik::sdk::is_infrared_on("fuzz", {reinterpret_cast<const char*>(data), size});
  return 0;
}
