#pragma once

#include <chrono>
#include <optional>
#include <string_view>

namespace norvik::sdk {

// The parts of one line of the internal log, "[2024-05-01 12:00:00.123 thread:7 info file:42]:message". They point into
// the line.
struct LogLine {
  std::string_view time;
  std::string_view level;
  std::string_view message;  // What follows the last "]:" of the line.
};

// Empty when `line` is no record of the internal log. Linear in the length of the line, which a message can make as
// long as it likes; the same answer as a full match of
//   \[([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\.[0-9]{3})[[:space:]]+thread:[0-9]+[[:space:]]+
//   ([a-zA-Z]+).*\]:(.*)
std::optional<LogLine> parse_log_line(std::string_view line);

// Time since the epoch of LogLine::time, which is local time. Empty when it names no moment ("13" as month).
std::optional<std::chrono::milliseconds> parse_log_time(std::string_view time);

}  // namespace norvik::sdk
