#pragma once

#include <cstdint>

namespace norvik::sdk {

// Severity of a log record, rising. The numbers are also the values of NORVIK_SDK_LOG_LEVEL.
enum class LogLevel : int32_t { trace = 0, debug = 1, info = 2, warning = 3, error = 4, critical = 5 };

}  // namespace norvik::sdk
