#pragma once

#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/log_level.hpp>
#include <norvik_sdk/sdk_logger.hpp>

namespace spdlog {
class async_logger;
namespace details {
class thread_pool;
}
}  // namespace spdlog

namespace norvik::sdk {

// The library's logging service: an internal channel for the library and a user channel for the application, each with
// files of its own, over one queue and one writer thread. The write path takes no lock: a flag, a counter and a weak
// pointer. The singleton is closed (queue drained, writer thread ended) at process exit but its storage stays, so that
// threads and static objects that log later are answered "not ready".
class Logger {
 public:
  static constexpr int32_t kHandled = 0;
  static constexpr int32_t kNotReady = 2;

  NORVIK_SDK_EXPORT static Logger& get_instance();

  Logger(const Logger&) = delete;
  Logger& operator=(const Logger&) = delete;

  // Open a channel, once per process; the result tells whether it is open. The exceptions of the file sink pass through
  // and leave the channel closed; only then does a later call try again.
  bool init_internal_logger(const LoggerConfig& config);
  bool init_user_logger(const LoggerConfig& config);

  // Write one record: kHandled, or kNotReady while the channel is closed. `file` and `function` are read later by the
  // writer thread: pass literals.
  int32_t internal_log(LogLevel level, const char* file, const char* function, int32_t line, const char* message);
  int32_t user_log(LogLevel level, const char* file, const char* function, int32_t line, const char* message);

  // Cheap tests whether a record of this level would be written. Valid before and after the singleton's life.
  static bool internal_enabled(LogLevel level) noexcept { return enabled(internal_threshold_, level); }
  static bool user_enabled(LogLevel level) noexcept { return enabled(user_threshold_, level); }

  // Asks the writer thread to flush the internal channel; does not wait for it.
  void flush();

  // Closes both channels for good: drops new records, writes the waiting ones and ends the writer thread. Waits at most
  // 5 s for callers that are in the middle of a record, and gives a disk up that takes no record for half a second.
  void shutdown();

  // Directory and file name that the internal channel settled on; empty before.
  std::string get_log_path() const;
  std::string get_log_file_name() const;

  // Name of the running program, empty when unknown. Local time as year-month-day-hour-minute-second.
  static std::string get_process_name();
  static std::string get_current_time();

 private:
  using AsyncLogger = spdlog::async_logger;

  // What becomes of a channel's configuration once defaults are filled in.
  struct ChannelPlan {
    const char* logger_name;
    int32_t level;
    std::string directory;
    std::string file_name;
  };

  // What shutdown takes out of the singleton.
  struct Closing {
    std::shared_ptr<AsyncLogger> internal_logger;
    std::shared_ptr<AsyncLogger> user_logger;
    std::shared_ptr<spdlog::details::thread_pool> pool;

    bool any() const { return internal_logger != nullptr || user_logger != nullptr; }
  };

  static constexpr int32_t kOff = 6;  // above every level

  Logger();
  ~Logger() = default;

  static bool enabled(const std::atomic<int32_t>& threshold, LogLevel level) noexcept {
    return static_cast<int32_t>(level) >= threshold.load(std::memory_order_relaxed);
  }

  ChannelPlan plan_internal_channel(const LoggerConfig& config) const;
  ChannelPlan plan_user_channel(const LoggerConfig& config) const;
  void set_up_internal_channel(const LoggerConfig& config);
  void set_up_user_channel(const LoggerConfig& config);
  std::shared_ptr<AsyncLogger> open_channel(const ChannelPlan& plan, const LoggerConfig& config);

  template <typename Action>
  int32_t with_channel(const std::atomic<bool>& ready, const std::weak_ptr<AsyncLogger>& channel, Action&& action);

  Closing stop_accepting();
  Closing take_channels();  // The caller holds set_up_mutex_.
  void drain_writers() const;
  void close_at_exit();

  NORVIK_SDK_EXPORT static std::atomic<int32_t> internal_threshold_;
  static std::atomic<int32_t> user_threshold_;

  mutable std::timed_mutex set_up_mutex_;  // set-up against shutdown and the two getters; never taken by the write path
  std::shared_ptr<AsyncLogger> internal_logger_;
  std::shared_ptr<spdlog::details::thread_pool> pool_;
  std::weak_ptr<AsyncLogger> internal_channel_;
  std::shared_ptr<AsyncLogger> user_logger_;
  std::weak_ptr<AsyncLogger> user_channel_;
  std::once_flag internal_once_;
  std::once_flag user_once_;
  std::atomic<bool> user_ready_{false};
  std::atomic<bool> internal_ready_{false};
  std::atomic<int32_t> active_writers_{0};
  std::string log_path_;
  std::string log_file_name_;
  bool exiting_ = false;  // guarded by set_up_mutex_: no channel is opened any more
  pid_t owner_process_;   // a forked child has no writer thread to wait for
};

}  // namespace norvik::sdk
