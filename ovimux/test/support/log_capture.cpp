#include "support/log_capture.hpp"

#include <algorithm>
#include <mutex>

#include "support/eventually.hpp"

namespace norvik::ovimux::test {
namespace {

struct Record {
  int level;
  std::string text;
};

struct Records {
  std::mutex mutex;
  std::vector<Record> list;
};

// Never destroyed: threads of the middleware log while the process exits.
Records& records() {
  static auto* const instance = new Records;
  return *instance;
}

void collect(int level, const char* /*file*/, const char* /*function*/, int /*line*/, const std::string& text) {
  const std::lock_guard<std::mutex> lock(records().mutex);
  records().list.push_back({level, text});
}

}  // namespace

LogCapture::LogCapture(int level) : previous_level_(Logger::getInstance().get_cur_log_level()) {
  {
    const std::lock_guard<std::mutex> lock(records().mutex);
    records().list.clear();
  }
  Logger::getInstance().set_sink(collect);
  Logger::getInstance().set_log_level(level);
}

LogCapture::~LogCapture() {
  Logger::getInstance().set_log_level(previous_level_);
  Logger::getInstance().set_sink(nullptr);
}

int LogCapture::count(int level, const std::string& part) const {
  const auto all = texts(level);
  return static_cast<int>(std::count_if(
      all.begin(), all.end(), [&part](const std::string& text) { return text.find(part) != std::string::npos; }));
}

bool LogCapture::awaits(int level, const std::string& part) const {
  return eventually([&] { return has(level, part); });
}

std::vector<std::string> LogCapture::texts(int level) const {
  const std::lock_guard<std::mutex> lock(records().mutex);
  std::vector<std::string> result;
  for (const auto& record : records().list) {
    if (record.level == level) {
      result.push_back(record.text);
    }
  }
  return result;
}

}  // namespace norvik::ovimux::test
