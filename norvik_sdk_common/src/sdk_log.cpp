#include "sdk_log.hpp"

#include <string>

#include "call_log_feed.hpp"

namespace norvik::sdk {

namespace {

// A record repeats what a caller or a peer passed. A name of megabytes must not fill the log's disk.
constexpr size_t kLongestRecord = 16'384;

std::string cut_long_record(std::string message) {
  if (message.size() > kLongestRecord) {
    const std::string tail = " ... (" + std::to_string(message.size()) + " bytes)";
    message.resize(kLongestRecord);
    message += tail;
  }
  return message;
}

}  // namespace

LoggerHelper::~LoggerHelper() {
  try {
    const std::string message = is_user_ ? stream_.str() : cut_long_record(stream_.str());
    Logger& logger = Logger::get_instance();
    if (is_user_) {
      logger.user_log(level_, file_, function_, line_, message.c_str());
    } else {
      CallLogFeed::take(level_, file_, message);
      logger.internal_log(level_, file_, function_, line_, message.c_str());
    }
  } catch (...) {
    // A record that cannot be written is lost; the caller must not suffer for it.
  }
}

}  // namespace norvik::sdk
