#pragma once

#include <ios>
#include <string>
#include <vector>

#include "support/sdk_log_capture.hpp"

namespace norvik::test {

// Parses what a growing log file of the library has got since the last look.
class LogFollower {
 public:
  // A line that is not finished yet is left for the next look.
  void read_on(const std::string& path);

  const std::vector<LogRecord>& records() const { return records_; }

 private:
  std::streamoff offset_ = 0;
  std::vector<LogRecord> records_;
};

}  // namespace norvik::test
