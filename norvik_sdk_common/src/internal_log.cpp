#include "internal_log.hpp"

#include <unistd.h>

#include <cstdlib>
#include <exception>

#include <norvik_sdk/sdk_logger.hpp>

#include "log_sinks/unblocked_write.hpp"
#include "logger.hpp"

namespace norvik::sdk {
namespace {

constexpr uint64_t kMaxFileSize = 10'485'760;
constexpr uint64_t kMaxFiles = 5;

LoggerConfig internal_log_config(const std::string& model) {
  LoggerConfig config;
  const char* const home = std::getenv("HOME");
  config.log_dir = home == nullptr ? "./" : home + ("/norvik_sdk_log/" + model + "/");
  config.max_file_size = kMaxFileSize;
  config.max_files = kMaxFiles;
  config.log_level = LogLevel::info;
  config.console_output = false;
  return config;
}

}  // namespace

void open_internal_log(const std::string& model) {
  const LoggerConfig config = internal_log_config(model);
  try {
    Logger::get_instance().init_internal_logger(config);
  } catch (const std::exception& error) {
    write_unblocked(STDERR_FILENO, "norvik_sdk: no log in " + config.log_dir + ": " + error.what() + "\n");
  }
}

}  // namespace norvik::sdk
