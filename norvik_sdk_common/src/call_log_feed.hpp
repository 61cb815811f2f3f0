#pragma once

#include <string>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/log_level.hpp>

namespace norvik::sdk {

// The library's side of CallLog.
class CallLogFeed {
 public:
  // Whether a CallLog of the calling thread wants records of this level.
  static bool wants(LogLevel level) noexcept { return level >= LogLevel::warning && is_open(); }

  // Gives a record to every CallLog of the calling thread that wants it.
  static void take(LogLevel level, const char* source, const std::string& text);

 private:
  NORVIK_SDK_EXPORT static bool is_open() noexcept;
};

}  // namespace norvik::sdk
