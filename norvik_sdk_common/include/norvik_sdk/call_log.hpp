#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/log_level.hpp>

namespace norvik::sdk {

// One record that the library wrote about a call.
struct CallRecord {
  LogLevel level = LogLevel::error;
  std::string source;  // stem of the library's source file
  std::string text;
};

// Why a call failed, at once and without the log file:
//
//   CallLog log;
//   if (robot.set_joint_positions(target, {"left_arm"}) != ControlStatus::SUCCESS) std::cerr << log.text() << '\n';
//
// Collects the warnings and errors that the library writes on the calling thread while the object exists, whatever the
// level of the log file and whether or not there is one. Every operation gives the reason of its failure on the thread
// that called it. Objects may be nested; each sees all records of its own time. Keeps the newest 100. For use by the
// thread that made it, as a local variable.
class NORVIK_SDK_EXPORT CallLog {
 public:
  CallLog();
  ~CallLog();
  CallLog(const CallLog&) = delete;
  CallLog& operator=(const CallLog&) = delete;

  // Oldest first.
  const std::vector<CallRecord>& records() const { return records_; }

  // Their texts, one a line, without a line end behind the last; empty when nothing was written.
  std::string text() const;

  // Forgets the records so far, before the next call.
  void clear() { records_.clear(); }

 private:
  friend class CallLogFeed;

  std::vector<CallRecord> records_;
  CallLog* outer_;
};

}  // namespace norvik::sdk
