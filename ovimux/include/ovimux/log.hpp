#pragma once

#include <sstream>
#include <string>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

enum LogLevel { kTrace = 0, kDebug = 1, kInfo = 2, kWarning = 3, kError = 4, kCritical = 5, kLogOff = 6 };

// The middleware's own log channel, separate from the SDK's. It writes to stderr, warnings and worse unless
// OVIMUX_LOG_LEVEL (0 to 5) says otherwise. Never destroyed, so that any thread may log at any time. A thread that logs
// never waits for the reader of stderr: lines go through a queue to a thread of their own, and are dropped and counted
// when it is full. exit() waits for them for 0.4 s at most; abort(), _exit() and a signal that kills lose what is
// queued.
class OVIMUX_EXPORT Logger {
 public:
  using Sink = void (*)(int level, const char* file, const char* function, int line, const std::string& text);

  static Logger& getInstance();

  // A record of level L is made only when this is at most L. One atomic load.
  int get_cur_log_level() const;
  void set_log_level(int level);

  void log(int level, const char* file, const char* function, int line, const std::string& text);

  // Records of the statistics; level debug.
  void statistics_log(const std::string& text);

  // Redirects the records, for tests; nullptr restores stderr.
  void set_sink(Sink sink);

 private:
  Logger();
  struct State;
  State* const state_;
};

// Collects one record and writes it on destruction.
class OVIMUX_EXPORT LoggerHelper {
 public:
  LoggerHelper(int level, const char* file, const char* function, int line);
  ~LoggerHelper();
  LoggerHelper(const LoggerHelper&) = delete;
  LoggerHelper& operator=(const LoggerHelper&) = delete;

  std::ostringstream& stream() { return stream_; }

 private:
  const int level_;
  const char* const file_;
  const char* const function_;
  const int line_;
  std::ostringstream stream_;
};

}  // namespace norvik::ovimux

// OVIMUX_LOG(kInfo) << "text " << value; a disabled level costs one comparison and formats nothing.
#define OVIMUX_LOG(level)                                                                      \
  if (::norvik::ovimux::Logger::getInstance().get_cur_log_level() > ::norvik::ovimux::level) { \
  } else /* NOLINT(readability-else-after-return) */                                           \
    ::norvik::ovimux::LoggerHelper(::norvik::ovimux::level, __FILE__, __func__, __LINE__).stream()
