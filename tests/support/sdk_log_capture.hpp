#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace norvik::test {

struct LogRecord {
  std::string level;   // trace, debug, info, warning, error, critical
  std::string source;  // stem of the source file
  int line = 0;
  std::string text;
};

// The records that the library's internal log received since this object was made, or since clear(). The first capture
// of a process opens the log at level trace in a temporary directory; a process has one log, so captures of several
// threads see each other's records.
class SdkLogCapture {
 public:
  SdkLogCapture();

  // Forgets the records so far.
  void clear();

  // All records since the mark, after waiting for the writer thread.
  std::vector<LogRecord> records() const;

  // Texts of the records of one level.
  std::vector<std::string> texts(const std::string& level) const;

  // Whether a record of this level has exactly this text, or contains it.
  bool has(const std::string& level, const std::string& text) const;
  bool has_containing(const std::string& level, const std::string& part) const;

 private:
  std::size_t mark_ = 0;  // records of the log before the capture
};

// The records of one log file, in order. A line that does not begin a record continues the text of the one before.
std::vector<LogRecord> read_log_file(const std::string& path);

}  // namespace norvik::test
