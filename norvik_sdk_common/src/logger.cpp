#include "logger.hpp"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include <spdlog/async.h>
#include <spdlog/async_logger.h>
#include <spdlog/spdlog.h>

#include "log_sinks/console_sink.hpp"
#include "log_sinks/rotating_file_sink.hpp"
#include "log_sinks/unblocked_write.hpp"

namespace norvik::sdk {
namespace {

constexpr char kInternalLoggerName[] = "norvik_sdk_log";
constexpr char kUserLoggerName[] = "norvik_sdk_user_log";
constexpr char kLogFolder[] = "norvik_sdk_log";
constexpr char kFallbackFileName[] = "norvik_sdk.log";
constexpr char kFilePattern[] = "[%Y-%m-%d %H:%M:%S.%e thread:%t %l %s:%#]:%v";
constexpr char kConsolePattern[] = "%v";
constexpr std::size_t kQueueCapacity = 32768;
constexpr int32_t kDefaultLevel = static_cast<int32_t>(LogLevel::info);
constexpr int32_t kHighestLevel = static_cast<int32_t>(LogLevel::critical);
constexpr std::chrono::milliseconds kDrainPollPeriod{3};
constexpr std::chrono::seconds kDrainTimeout{5};
// A writer thread that does not finish one record for this long hangs on its disk.
constexpr std::chrono::milliseconds kStalledWriter{500};
constexpr std::chrono::milliseconds kEndPollPeriod{1};
constexpr std::chrono::seconds kLongestEnd{1};  // of the writer thread while the process exits
using SteadyTime = std::chrono::steady_clock::time_point;

// Counts a caller that is in the middle of a record, so that shutdown can wait for it.
class WriterCount {
 public:
  explicit WriterCount(std::atomic<int32_t>& count) : count_(count) { ++count_; }
  ~WriterCount() { --count_; }
  WriterCount(const WriterCount&) = delete;
  WriterCount& operator=(const WriterCount&) = delete;

 private:
  std::atomic<int32_t>& count_;
};

// NORVIK_SDK_LOG_LEVEL counts only as a single digit 0 to 5.
int32_t internal_level_from_environment() {
  const char* text = std::getenv("NORVIK_SDK_LOG_LEVEL");
  const bool is_level = text != nullptr && text[0] >= '0' && text[0] <= '5' && text[1] == '\0';
  return is_level ? text[0] - '0' : kDefaultLevel;
}

std::string directory_under_home(const std::string& folder) {
  const char* home = std::getenv("HOME");
  return home == nullptr ? "./" : std::string(home) + "/" + folder;
}

std::string generated_file_name(const std::string& prefix) {
  const std::string process = Logger::get_process_name();
  if (process.empty()) return kFallbackFileName;
  return prefix + process + "_" + Logger::get_current_time() + "_" + std::to_string(::getpid()) + "_" +
         std::to_string(::gettid()) + ".log";
}

// Ends the writer thread once the queue is written. One that is stuck, or not done by `limit`, is left behind with its
// queue: nobody who closes the log, least of all the end of the process, may wait for a disk.
void end_writer_thread(std::shared_ptr<spdlog::details::thread_pool> pool, SteadyTime limit) {
  const auto ended = std::make_shared<std::atomic<bool>>(false);
  try {
    std::thread([pool = std::move(pool), ended]() mutable {
      pool.reset();  // writes what is queued and joins the writer thread
      *ended = true;
    }).detach();
  } catch (const std::exception&) {
    return;  // no thread to be had: the pool has ended right here
  }
  uint64_t handled = RotatingFileSink::records_handled();
  auto deadline = std::chrono::steady_clock::now() + kStalledWriter;
  while (!*ended && std::chrono::steady_clock::now() < std::min(deadline, limit)) {
    std::this_thread::sleep_for(kEndPollPeriod);
    if (const uint64_t now = RotatingFileSink::records_handled(); now != handled) {
      handled = now;
      deadline = std::chrono::steady_clock::now() + kStalledWriter;
    }
  }
}

void write_record(spdlog::async_logger& logger, LogLevel level, const char* file, const char* function, int32_t line,
                  const char* message) {
  const int32_t number = static_cast<int32_t>(level);
  if (message == nullptr || *message == '\0' || number < 0 || number > kHighestLevel) return;
  const spdlog::source_loc source{file == nullptr ? "" : file, line, function == nullptr ? "" : function};
  logger.log(source, static_cast<spdlog::level::level_enum>(number), spdlog::string_view_t(message));
}

}  // namespace

// Constant-initialised and trivially destroyed: safe to read from any static object.
std::atomic<int32_t> Logger::internal_threshold_{Logger::kOff};
std::atomic<int32_t> Logger::user_threshold_{Logger::kOff};

Logger& Logger::get_instance() {
  static Logger* const instance = [] {
    auto* const logger = new Logger();
    ::on_exit([](int, void* closing) { static_cast<Logger*>(closing)->close_at_exit(); }, logger);
    return logger;
  }();
  return *instance;
}

Logger::Logger() : owner_process_(::getpid()) {
  spdlog::details::registry::instance();  // built before the exit handler is registered, so it is still there when that
                                          // runs
  try {
    pool_ = std::make_shared<spdlog::details::thread_pool>(kQueueCapacity, 1);
  } catch (const std::exception&) {
    // No thread to be had: the channels stay closed and the library works without a log.
  }
}

bool Logger::init_internal_logger(const LoggerConfig& config) {
  std::call_once(internal_once_, [&] { set_up_internal_channel(config); });
  return internal_ready_;
}

bool Logger::init_user_logger(const LoggerConfig& config) {
  std::call_once(user_once_, [&] { set_up_user_channel(config); });
  return user_ready_;
}

int32_t Logger::internal_log(LogLevel level, const char* file, const char* function, int32_t line,
                             const char* message) {
  return with_channel(internal_ready_, internal_channel_,
                      [&](AsyncLogger& logger) { write_record(logger, level, file, function, line, message); });
}

int32_t Logger::user_log(LogLevel level, const char* file, const char* function, int32_t line, const char* message) {
  return with_channel(user_ready_, user_channel_,
                      [&](AsyncLogger& logger) { write_record(logger, level, file, function, line, message); });
}

void Logger::flush() {
  with_channel(internal_ready_, internal_channel_, [](AsyncLogger& logger) { logger.flush(); });
}

// The flag is read again behind the count: once shutdown has cleared the flag, every caller that still gets through is
// already counted.
template <typename Action>
int32_t Logger::with_channel(const std::atomic<bool>& ready, const std::weak_ptr<AsyncLogger>& channel,
                             Action&& action) {
  if (!ready) return kNotReady;
  const WriterCount count(active_writers_);
  if (!ready) return kNotReady;
  if (const auto logger = channel.lock()) action(*logger);
  return kHandled;
}

std::string Logger::get_log_path() const {
  const std::lock_guard<std::timed_mutex> lock(set_up_mutex_);
  return log_path_;
}

std::string Logger::get_log_file_name() const {
  const std::lock_guard<std::timed_mutex> lock(set_up_mutex_);
  return log_file_name_;
}

std::string Logger::get_process_name() {
  std::array<char, 100> path{};
  if (::readlink("/proc/self/exe", path.data(), path.size() - 1) < 0) return "";
  const std::string_view text(path.data());
  const std::size_t slash = text.rfind('/');
  return slash == std::string_view::npos ? "" : std::string(text.substr(slash + 1));
}

std::string Logger::get_current_time() {
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  ::localtime_r(&now, &local);
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%04d-%02d-%02d-%02d-%02d-%02d", local.tm_year + 1900, local.tm_mon + 1,
                local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec);
  return text.data();
}

// The directory is used as it is given: without a slash at its end it becomes a prefix of the file name.
Logger::ChannelPlan Logger::plan_internal_channel(const LoggerConfig& config) const {
  ChannelPlan plan;
  plan.logger_name = kInternalLoggerName;
  plan.level = internal_level_from_environment();
  plan.directory = config.log_dir.empty() ? directory_under_home(std::string(kLogFolder) + "/") : config.log_dir;
  plan.file_name = config.log_file_name.empty() ? generated_file_name("norvik_sdk_") : config.log_file_name;
  return plan;
}

Logger::ChannelPlan Logger::plan_user_channel(const LoggerConfig& config) const {
  ChannelPlan plan;
  plan.logger_name = kUserLoggerName;
  plan.level = static_cast<int32_t>(config.log_level);
  plan.directory =
      config.log_dir.empty() ? directory_under_home(std::string(kLogFolder) + "/user_log") : config.log_dir;
  if (plan.directory.back() != '/') plan.directory += '/';
  plan.file_name = config.log_file_name.empty() ? generated_file_name("") : config.log_file_name;
  return plan;
}

void Logger::set_up_internal_channel(const LoggerConfig& config) {
  const std::lock_guard<std::timed_mutex> lock(set_up_mutex_);
  const ChannelPlan plan = plan_internal_channel(config);
  log_path_ = plan.directory;
  log_file_name_ = plan.file_name;
  internal_logger_ = open_channel(plan, config);
  if (internal_logger_ == nullptr) return;
  internal_channel_ = internal_logger_;
  internal_ready_ = true;
  internal_threshold_ = plan.level;
}

void Logger::set_up_user_channel(const LoggerConfig& config) {
  const std::lock_guard<std::timed_mutex> lock(set_up_mutex_);
  const ChannelPlan plan = plan_user_channel(config);
  user_logger_ = open_channel(plan, config);
  if (user_logger_ == nullptr) return;
  user_channel_ = user_logger_;
  user_ready_ = true;
  user_threshold_ = plan.level;
}

// Empty when there is no writer thread (any more). Throws what the file sink throws.
std::shared_ptr<spdlog::async_logger> Logger::open_channel(const ChannelPlan& plan, const LoggerConfig& config) {
  if (pool_ == nullptr || exiting_) return nullptr;
  ::mkdir(plan.directory.c_str(), 0755);  // a failure shows when the file is opened, which makes missing parents too
  const auto level = static_cast<spdlog::level::level_enum>(plan.level);
  std::vector<spdlog::sink_ptr> sinks;
  if (config.console_output) {
    sinks.push_back(std::make_shared<ConsoleSink>());
    sinks.back()->set_pattern(kConsolePattern);
  }
  sinks.push_back(
      std::make_shared<RotatingFileSink>(plan.directory + plan.file_name, config.max_file_size, config.max_files));
  sinks.back()->set_pattern(kFilePattern);
  for (const auto& sink : sinks) sink->set_level(level);

  auto logger = std::make_shared<spdlog::async_logger>(plan.logger_name, sinks.begin(), sinks.end(), pool_,
                                                       spdlog::async_overflow_policy::overrun_oldest);
  logger->set_level(level);
  logger->flush_on(spdlog::level::info);
  logger->set_error_handler([](const std::string&) {});  // the library's own writes to standard error and may wait
  spdlog::register_logger(logger);
  return logger;
}

void Logger::shutdown() {
  Closing closing = stop_accepting();
  if (!closing.any()) return;
  if (closing.internal_logger != nullptr) closing.internal_logger->flush();
  if (closing.user_logger != nullptr) closing.user_logger->flush();
  drain_writers();
  spdlog::shutdown();
  end_writer_thread(std::move(closing.pool), SteadyTime::max());
}

// Unlike shutdown, leaves the loggers that the application registered with the logging library alone.
void Logger::close_at_exit() {
  // Held by a thread that opens a channel on a disk that hangs.
  std::unique_lock<std::timed_mutex> lock(set_up_mutex_, kStalledWriter);
  if (!lock.owns_lock()) return;
  exiting_ = true;
  Closing closing = take_channels();
  lock.unlock();
  if (!closing.any()) return;
  drain_writers();
  spdlog::drop(kInternalLoggerName);
  spdlog::drop(kUserLoggerName);
  end_writer_thread(std::move(closing.pool), std::chrono::steady_clock::now() + kLongestEnd);
}

// From here on records are dropped. Of several concurrent callers one gets the channels, the others get nothing. Nor
// does a forked child: it has the pool's memory but not its thread, for which it would wait for ever.
Logger::Closing Logger::stop_accepting() {
  const std::lock_guard<std::timed_mutex> lock(set_up_mutex_);
  return take_channels();
}

Logger::Closing Logger::take_channels() {
  Closing closing;
  if (!internal_ready_ && !user_ready_) return closing;
  internal_threshold_ = kOff;
  user_threshold_ = kOff;
  internal_ready_ = false;
  user_ready_ = false;
  if (::getpid() != owner_process_) return closing;
  closing.internal_logger = std::move(internal_logger_);
  closing.user_logger = std::move(user_logger_);
  closing.pool = std::move(pool_);
  return closing;
}

void Logger::drain_writers() const {
  const auto deadline = std::chrono::steady_clock::now() + kDrainTimeout;
  while (active_writers_ != 0) {
    if (std::chrono::steady_clock::now() > deadline) {
      write_unblocked(STDOUT_FILENO,
                      "Logger shutdown timeout, active writers: " + std::to_string(active_writers_.load()) + "\n");
      return;
    }
    std::this_thread::sleep_for(kDrainPollPeriod);
  }
}

}  // namespace norvik::sdk
