#include "support/sdk_log_capture.hpp"

#include <stdlib.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <iterator>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "logger.hpp"
#include "support/log_file.hpp"
#include "support/temp_dir.hpp"

namespace norvik::test {
namespace {

constexpr char kMarkerSource[] = "sdk_log_capture";
constexpr std::chrono::seconds kWriterTimeout{10};

// The log of this process. A log that the code under test opened itself is used as it is.
class CaptureLog {
 public:
  static CaptureLog& get() {
    static CaptureLog instance;
    return instance;
  }

  // All records so far, markers included.
  std::vector<LogRecord> read() {
    const std::lock_guard<std::mutex> lock(mutex_);
    read_up_to_marker();
    return follower_.records();
  }

 private:
  CaptureLog() {
    ::setenv("NORVIK_SDK_LOG_LEVEL", "0", 1);
    sdk::LoggerConfig config;
    config.log_dir = directory_.path().string() + "/";
    config.log_file_name = "capture.log";
    config.max_file_size = uint64_t{1} << 32U;
    if (!sdk::Logger::get_instance().init_internal_logger(config)) throw std::runtime_error("the log cannot be opened");
  }

  // The log has one queue and one writer: once a marker is in the file, everything logged before it is too.
  void read_up_to_marker() {
    sdk::Logger& logger = sdk::Logger::get_instance();
    const std::string path = logger.get_log_path() + logger.get_log_file_name();
    const std::string marker = "marker " + std::to_string(++marker_count_);
    const bool open = logger.internal_log(sdk::LogLevel::critical, kMarkerSource, "", 1, marker.c_str()) == 0;
    const auto deadline = std::chrono::steady_clock::now() + kWriterTimeout;
    follower_.read_on(path);
    while (open && !seen(marker)) {
      if (std::chrono::steady_clock::now() > deadline) {
        ADD_FAILURE() << "the log's writer thread did not write to " << path << " within 10 s";
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      follower_.read_on(path);
    }
  }

  bool seen(const std::string& marker) const {
    const std::vector<LogRecord>& records = follower_.records();
    return std::any_of(records.rbegin(), records.rend(), [&](const LogRecord& record) {
      return record.source == kMarkerSource && record.text == marker;
    });
  }

  TempDir directory_;
  std::mutex mutex_;
  LogFollower follower_;
  int marker_count_ = 0;
};

}  // namespace

SdkLogCapture::SdkLogCapture() { clear(); }

void SdkLogCapture::clear() { mark_ = CaptureLog::get().read().size(); }

std::vector<LogRecord> SdkLogCapture::records() const {
  const std::vector<LogRecord> all = CaptureLog::get().read();
  std::vector<LogRecord> found;
  std::copy_if(all.begin() + static_cast<std::ptrdiff_t>(mark_), all.end(), std::back_inserter(found),
               [](const LogRecord& record) { return record.source != kMarkerSource; });
  return found;
}

std::vector<std::string> SdkLogCapture::texts(const std::string& level) const {
  std::vector<std::string> found;
  for (const LogRecord& record : records()) {
    if (record.level == level) found.push_back(record.text);
  }
  return found;
}

bool SdkLogCapture::has(const std::string& level, const std::string& text) const {
  const std::vector<std::string> found = texts(level);
  return std::find(found.begin(), found.end(), text) != found.end();
}

bool SdkLogCapture::has_containing(const std::string& level, const std::string& part) const {
  const std::vector<std::string> found = texts(level);
  return std::any_of(found.begin(), found.end(),
                     [&](const std::string& text) { return text.find(part) != std::string::npos; });
}

}  // namespace norvik::test
