// Feeds arbitrary text to the reader of battery reports. It refuses text with an exception of the JSON library only.
#include <cstdint>
#include <nlohmann/json.hpp>

#include "impl/system/bms_info.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    norvik::sdk::parse_bms_info({reinterpret_cast<const char*>(data), size});
  } catch (const nlohmann::json::exception&) {
  }
  return 0;
}
