#include "sdk_log.hpp"

namespace norvik::sdk {

LoggerHelper::~LoggerHelper() {
  try {
    const std::string message = stream_.str();
    Logger& logger = Logger::get_instance();
    if (is_user_) {
      logger.user_log(level_, file_, function_, line_, message.c_str());
    } else {
      logger.internal_log(level_, file_, function_, line_, message.c_str());
    }
  } catch (...) {
    // A record that cannot be written is lost; the caller must not suffer for it.
  }
}

}  // namespace norvik::sdk
