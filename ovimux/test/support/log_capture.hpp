#pragma once

#include <string>
#include <vector>

#include "ovimux/log.hpp"

namespace norvik::ovimux::test {

// Collects the middleware's log records instead of printing them, from construction to destruction. One at a time.
class LogCapture {
 public:
  explicit LogCapture(int level = kDebug);
  ~LogCapture();
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;

  // Records of this level whose text contains `part`.
  int count(int level, const std::string& part) const;
  bool has(int level, const std::string& part) const { return count(level, part) > 0; }
  // Whether such a record is there or comes within a few seconds.
  bool awaits(int level, const std::string& part) const;
  // Whole texts of the records of this level, in order.
  std::vector<std::string> texts(int level) const;

 private:
  const int previous_level_;
};

}  // namespace norvik::ovimux::test
