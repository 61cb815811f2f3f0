#pragma once

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/log_level.hpp>
#include <norvik_sdk/log_macros.hpp>

namespace norvik::sdk {

// Where and how a log channel writes. An empty log_dir or log_file_name stands for the channel's default.
struct LoggerConfig {
  std::string log_dir;                // made if missing
  std::string log_file_name;          // default: program, time, process id and thread id, ".log"
  uint64_t max_file_size = 0xa00000;  // bytes at which a new file is begun and the old one called FILE.1; above 0
  uint64_t max_files = 5;             // older files kept; at most 200000
  LogLevel log_level = LogLevel::info;
  // Also write the bare messages to standard output. What a console does not take at once is dropped and counted.
  bool console_output = false;
};

// Opens the application's own log, by default in $HOME/norvik_sdk_log/user_log/. Records written before are lost.
// Works once per process: later calls change nothing and tell whether the log is open. A file that cannot be opened and
// a max_file_size or max_files out of range throw an exception derived from std::exception; the log then stays closed,
// and a call with a better configuration may follow. This is the only function of the library that throws. Any thread.
NORVIK_SDK_EXPORT bool init_norvik_sdk_logger(const LoggerConfig& config);

// One record of the application's log. It collects text and is written when it is destroyed. Use it through
// NORVIK_SDK_LOG. Any thread may log at any time; the caller never waits for the disk: under overload the oldest
// waiting records are dropped.
class NORVIK_SDK_EXPORT NorvikSdkLogStream {
 public:
  // `file` and `function` must outlive the process's logging: pass literals.
  NorvikSdkLogStream(LogLevel level, const char* file, const char* function, int32_t line);
  ~NorvikSdkLogStream();
  NorvikSdkLogStream(const NorvikSdkLogStream&) = delete;
  NorvikSdkLogStream& operator=(const NorvikSdkLogStream&) = delete;

  std::ostream& stream() { return stream_; }

  // Writes one record at once. Never throws.
  static void record_log(LogLevel level, const char* file, const char* function, int32_t line,
                         const std::string& message) noexcept;

  // Whether a record of this level would be written now.
  static bool is_enabled(LogLevel level) noexcept;

 private:
  LogLevel level_;
  const char* file_;
  const char* function_;
  int32_t line_;
  std::ostringstream stream_;
};

}  // namespace norvik::sdk

// Writes to the application's log:  NORVIK_SDK_LOG(info) << "reached " << name;
// The level is one of trace, debug, info, warning, error, critical. Below the log's level, or while the log is closed,
// nothing behind the macro is evaluated.
#define NORVIK_SDK_LOG(level)                                                                                          \
  NORVIK_SDK_DETAIL_LOG(::norvik::sdk::NorvikSdkLogStream::is_enabled(::norvik::sdk::LogLevel::level),                 \
                        ::norvik::sdk::NorvikSdkLogStream(::norvik::sdk::LogLevel::level, NORVIK_SDK_DETAIL_FILE_STEM, \
                                                          static_cast<const char*>(__func__), __LINE__))
