#include <norvik_sdk/call_log.hpp>

#include "call_log_feed.hpp"

namespace norvik::sdk {
namespace {

constexpr std::size_t kMostRecords = 100;

thread_local CallLog* t_innermost = nullptr;

}  // namespace

CallLog::CallLog() : outer_(t_innermost) { t_innermost = this; }

CallLog::~CallLog() { t_innermost = outer_; }

std::string CallLog::text() const {
  std::string lines;
  for (const CallRecord& record : records_) {
    if (!lines.empty()) lines += '\n';
    lines += record.text;
  }
  return lines;
}

bool CallLogFeed::is_open() noexcept { return t_innermost != nullptr; }

void CallLogFeed::take(LogLevel level, const char* source, const std::string& text) {
  if (!wants(level)) return;
  for (CallLog* log = t_innermost; log != nullptr; log = log->outer_) {
    if (log->records_.size() == kMostRecords) log->records_.erase(log->records_.begin());
    log->records_.push_back({level, source == nullptr ? "" : source, text});
  }
}

}  // namespace norvik::sdk
