#include <norvik_sdk/sdk_logger.hpp>

#include "logger.hpp"

namespace norvik::sdk {

bool init_norvik_sdk_logger(const LoggerConfig& config) { return Logger::get_instance().init_user_logger(config); }

NorvikSdkLogStream::NorvikSdkLogStream(LogLevel level, const char* file, const char* function, int32_t line)
    : level_(level), file_(file), function_(function), line_(line) {}

NorvikSdkLogStream::~NorvikSdkLogStream() {
  try {
    record_log(level_, file_, function_, line_, stream_.str());
  } catch (...) {
    // No memory for the text: the record is lost.
  }
}

void NorvikSdkLogStream::record_log(LogLevel level, const char* file, const char* function, int32_t line,
                                    const std::string& message) noexcept {
  try {
    Logger::get_instance().user_log(level, file, function, line, message.c_str());
  } catch (...) {
    // A record that cannot be written is lost.
  }
}

bool NorvikSdkLogStream::is_enabled(LogLevel level) noexcept { return Logger::user_enabled(level); }

}  // namespace norvik::sdk
