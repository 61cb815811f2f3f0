#pragma once

#include <cstdint>
#include <sstream>

#include <norvik_sdk/export.hpp>

#include "call_log_feed.hpp"
#include "logger.hpp"

namespace norvik::sdk {

// One log record under construction: text is streamed in, the destructor writes it. Used through SDK_LOG.
// What that calls is exported: libnorvik_sdk_perception writes into the same log.
class LoggerHelper {
 public:
  // `file` and `function` are kept as pointers until the record is on disk: pass literals.
  LoggerHelper(LogLevel level, const char* file, const char* function, int32_t line, bool is_user = false)
      : level_(level), file_(file), function_(function), line_(line), is_user_(is_user) {}
  NORVIK_SDK_EXPORT ~LoggerHelper();
  LoggerHelper(const LoggerHelper&) = delete;
  LoggerHelper& operator=(const LoggerHelper&) = delete;

  std::ostream& stream() { return stream_; }

 private:
  LogLevel level_;
  const char* file_;
  const char* function_;
  int32_t line_;
  bool is_user_;
  std::ostringstream stream_;
};

}  // namespace norvik::sdk

// Writes to the library's own log:  SDK_LOG(error) << "joint group invalid: " << group;
// Below the log's level, or while it is closed, and without a CallLog on the thread nothing behind it is evaluated; for
// the levels below warning this costs one comparison.
#define SDK_LOG(level)                                                                                           \
  NORVIK_SDK_DETAIL_LOG(::norvik::sdk::Logger::internal_enabled(::norvik::sdk::LogLevel::level) ||               \
                            ::norvik::sdk::CallLogFeed::wants(::norvik::sdk::LogLevel::level),                   \
                        ::norvik::sdk::LoggerHelper(::norvik::sdk::LogLevel::level, NORVIK_SDK_DETAIL_FILE_STEM, \
                                                    static_cast<const char*>(__func__), __LINE__))
