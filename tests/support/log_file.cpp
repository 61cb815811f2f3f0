#include "support/log_file.hpp"

#include <cstdlib>
#include <fstream>

namespace norvik::test {
namespace {

// "[date time thread:id level source:line]:text"; false for a line of another form.
bool parse_line(const std::string& line, LogRecord& record) {
  const std::size_t head_end = line.find("]:");
  const std::size_t thread = line.find(" thread:");
  if (line.empty() || line[0] != '[' || head_end == std::string::npos || thread >= head_end) return false;
  const std::size_t level = line.find(' ', thread + 1) + 1;
  const std::size_t source = line.find(' ', level) + 1;
  const std::size_t colon = line.rfind(':', head_end - 1);
  if (level == 0 || source == 0 || source > head_end || colon < source) return false;
  record.level = line.substr(level, source - 1 - level);
  record.source = line.substr(source, colon - source);
  record.line = std::atoi(line.c_str() + colon + 1);
  record.text = line.substr(head_end + 2);
  return true;
}

}  // namespace

void LogFollower::read_on(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  file.seekg(offset_);
  for (std::string line; std::getline(file, line) && !file.eof();) {
    offset_ += static_cast<std::streamoff>(line.size()) + 1;
    LogRecord record;
    if (parse_line(line, record)) {
      records_.push_back(record);
    } else if (!records_.empty()) {
      records_.back().text += "\n" + line;
    }
  }
}

std::vector<LogRecord> read_log_file(const std::string& path) {
  LogFollower follower;
  follower.read_on(path);
  return follower.records();
}

}  // namespace norvik::test
