// Feeds arbitrary text to the reader of the speaker's volume. It refuses text with an exception of the JSON library
// only.
#include <cstdint>
#include <nlohmann/json.hpp>

#include "impl/audio/audio_message.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    norvik::sdk::volume_from_json({reinterpret_cast<const char*>(data), size});
  } catch (const nlohmann::json::exception&) {
  }
  return 0;
}
