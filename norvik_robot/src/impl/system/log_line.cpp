#include "impl/system/log_line.hpp"

#include <algorithm>
#include <cstddef>
#include <ctime>

namespace norvik::sdk {
namespace {

constexpr std::string_view kTimePattern = "0000-00-00 00:00:00.000";  // '0' stands for any digit.

bool is_digit(char c) { return c >= '0' && c <= '9'; }

bool is_letter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

bool is_space(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

// Takes `text` off the front of `rest`.
bool skip(std::string_view& rest, std::string_view text) {
  if (rest.substr(0, text.size()) != text) {
    return false;
  }
  rest.remove_prefix(text.size());
  return true;
}

// Takes the longest run of characters of one class off the front of `rest`; at least one.
bool take_run(std::string_view& rest, bool (*is_of_class)(char), std::string_view* run = nullptr) {
  const auto end = std::find_if_not(rest.begin(), rest.end(), is_of_class);
  const auto length = static_cast<size_t>(end - rest.begin());
  if (run != nullptr) {
    *run = rest.substr(0, length);
  }
  rest.remove_prefix(length);
  return length > 0;
}

bool take_time(std::string_view& rest, std::string_view& time) {
  time = rest.substr(0, kTimePattern.size());
  const bool matches = time.size() == kTimePattern.size() &&
                       std::equal(time.begin(), time.end(), kTimePattern.begin(),
                                  [](char c, char pattern) { return pattern == '0' ? is_digit(c) : c == pattern; });
  rest.remove_prefix(time.size());
  return matches;
}

bool take_message(std::string_view rest, std::string_view& message) {
  constexpr std::string_view kEndOfHead = "]:";
  const size_t head = rest.rfind(kEndOfHead);
  if (head == std::string_view::npos || rest.find_first_of("\r\n") != std::string_view::npos) {
    return false;
  }
  message = rest.substr(head + kEndOfHead.size());
  return true;
}

int number_at(std::string_view time, size_t position, size_t digits) {
  int value = 0;
  for (const char c : time.substr(position, digits)) {
    value = value * 10 + (c - '0');
  }
  return value;
}

bool is_in_range(const std::tm& time) {
  return time.tm_mon >= 0 && time.tm_mon <= 11 && time.tm_mday >= 1 && time.tm_mday <= 31 && time.tm_hour <= 23 &&
         time.tm_min <= 59 && time.tm_sec <= 60;
}

}  // namespace

std::optional<LogLine> parse_log_line(std::string_view line) {
  LogLine parts;
  const bool matches = skip(line, "[") && take_time(line, parts.time) && take_run(line, is_space) &&
                       skip(line, "thread:") && take_run(line, is_digit) && take_run(line, is_space) &&
                       take_run(line, is_letter, &parts.level) && take_message(line, parts.message);
  return matches ? std::optional<LogLine>(parts) : std::nullopt;
}

std::optional<std::chrono::milliseconds> parse_log_time(std::string_view time) {
  std::tm local{};
  local.tm_year = number_at(time, 0, 4) - 1900;
  local.tm_mon = number_at(time, 5, 2) - 1;
  local.tm_mday = number_at(time, 8, 2);
  local.tm_hour = number_at(time, 11, 2);
  local.tm_min = number_at(time, 14, 2);
  local.tm_sec = number_at(time, 17, 2);
  local.tm_isdst = -1;  // Let the time zone decide whether it was summer time.
  if (!is_in_range(local)) {
    return std::nullopt;
  }
  const std::time_t seconds = std::mktime(&local);
  if (seconds == -1) {
    return std::nullopt;
  }
  return std::chrono::seconds(seconds) + std::chrono::milliseconds(number_at(time, 20, 3));
}

}  // namespace norvik::sdk
