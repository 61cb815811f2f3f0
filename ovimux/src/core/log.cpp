#include "ovimux/log.hpp"

#include <spdlog/sinks/base_sink.h>
#include <spdlog/spdlog.h>

#include <atomic>
#include <cstdlib>
#include <exception>
#include <mutex>

#include "core/stderr_queue.hpp"

namespace norvik::ovimux {
namespace {

int level_from_environment() {
  const char* text = std::getenv("OVIMUX_LOG_LEVEL");
  const bool is_digit = text != nullptr && text[0] >= '0' && text[0] <= '5' && text[1] == '\0';
  return is_digit ? text[0] - '0' : kWarning;
}

const char* base_name(const char* path) {
  const char* name = path;
  for (const char* p = path; *p != '\0'; ++p) {
    if (*p == '/') {
      name = p + 1;
    }
  }
  return name;
}

class QueueSink : public spdlog::sinks::base_sink<std::mutex> {
 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    StderrQueue::instance().push(std::string(line.data(), line.size()));
  }
  void flush_() override {}
};

}  // namespace

struct Logger::State {
  std::atomic<int> level{level_from_environment()};
  std::atomic<Sink> sink{nullptr};
  std::shared_ptr<spdlog::logger> logger;
};

Logger& Logger::getInstance() {
  static auto* const instance = new Logger;
  return *instance;
}

Logger::Logger() : state_(new State) {
  auto sink = std::make_shared<QueueSink>();
  sink->set_pattern("[%Y-%m-%d %H:%M:%S.%e thread:%t %l %s:%#]:%v");
  state_->logger = std::make_shared<spdlog::logger>("ovimux", std::move(sink));
  state_->logger->set_level(spdlog::level::trace);
}

int Logger::get_cur_log_level() const { return state_->level.load(std::memory_order_relaxed); }

void Logger::set_log_level(int level) { state_->level.store(level); }

void Logger::log(int level, const char* file, const char* function, int line, const std::string& text) {
  if (const Sink sink = state_->sink.load()) {
    sink(level, base_name(file), function, line, text);
    return;
  }
  const spdlog::source_loc location{base_name(file), line, function};
  state_->logger->log(location, static_cast<spdlog::level::level_enum>(level), spdlog::string_view_t(text));
}

void Logger::statistics_log(const std::string& text) {
  if (get_cur_log_level() <= kDebug) {
    log(kDebug, "statistics", "", 0, text);
  }
}

void Logger::set_sink(Sink sink) { state_->sink.store(sink); }

LoggerHelper::LoggerHelper(int level, const char* file, const char* function, int line)
    : level_(level), file_(file), function_(function), line_(line) {}

LoggerHelper::~LoggerHelper() {
  try {
    Logger::getInstance().log(level_, file_, function_, line_, stream_.str());
  } catch (const std::exception&) {
    // A record that cannot be written is lost; the program goes on.
  }
}

}  // namespace norvik::ovimux
