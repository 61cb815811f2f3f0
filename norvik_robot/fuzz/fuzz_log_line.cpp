// Feeds arbitrary lines to the parser of log files. What it finds must lie within the line.
#include <cstdint>
#include <cstdlib>

#include "impl/system/log_line.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  if (const auto line = norvik::sdk::parse_log_line(text)) {
    if (line->message.size() > size) {
      std::abort();
    }
    norvik::sdk::parse_log_time(line->time);
  }
  return 0;
}
