#include <fcntl.h>
#include <pty.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "logger.hpp"
#include "sdk_log.hpp"
#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"

namespace norvik::sdk {
namespace {

using test::read_log_file;
using test::TempDir;
using ::testing::ExitedWithCode;

constexpr int kRecordAccepted = 70;

LoggerConfig config_in(const TempDir& directory) {
  LoggerConfig config;
  config.log_dir = directory.path().string() + "/";
  config.log_file_name = "log.txt";
  config.max_file_size = uint64_t{1} << 30U;
  return config;
}

TEST(LoggerShutdown, OfAClosedLoggerReturnsAtOnceAndChangesNothing) {
  const TempDir directory;
  Logger::get_instance().shutdown();
  EXPECT_TRUE(Logger::get_instance().init_internal_logger(config_in(directory)));
}

TEST(LoggerShutdown, IsFinalForBothChannels) {
  const TempDir directory;
  Logger& logger = Logger::get_instance();
  ASSERT_TRUE(logger.init_internal_logger(config_in(directory)));
  logger.shutdown();
  EXPECT_EQ(logger.internal_log(LogLevel::error, "s", "f", 1, "late"), Logger::kNotReady);
  EXPECT_FALSE(Logger::internal_enabled(LogLevel::critical));
  EXPECT_FALSE(logger.init_internal_logger(config_in(directory)));
  EXPECT_FALSE(logger.init_user_logger(config_in(directory)));
  logger.flush();
  logger.shutdown();
  EXPECT_TRUE(read_log_file(directory / "log.txt").empty());
}

// Whoever got "handled" must find the record in the file, however the race with shutdown went.
TEST(LoggerShutdown, LosesNoRecordThatWasAccepted) {
  constexpr int kThreads = 4;
  constexpr int kRecordsPerThread = 8000;  // together below the capacity of the queue, which drops the oldest
  const TempDir directory;
  Logger& logger = Logger::get_instance();
  ASSERT_TRUE(logger.init_internal_logger(config_in(directory)));
  std::atomic<int> accepted{0};
  std::vector<std::thread> writers;
  writers.reserve(kThreads);
  for (int t = 0; t < kThreads; ++t) {
    writers.emplace_back([&] {
      for (int i = 0; i < kRecordsPerThread; ++i) {
        if (logger.internal_log(LogLevel::info, "s", "f", 1, "text") == Logger::kNotReady) return;
        ++accepted;
      }
    });
  }
  while (accepted < kRecordsPerThread) std::this_thread::yield();
  std::thread second([&] { logger.shutdown(); });
  logger.shutdown();
  second.join();
  for (auto& writer : writers) writer.join();
  EXPECT_EQ(read_log_file(directory / "log.txt").size(), static_cast<std::size_t>(accepted));
}

// Logs at destruction; a record that is accepted after the logger has closed is the failure.
struct LogsWhenDestroyed {
  bool after_logger;
  ~LogsWhenDestroyed() {
    SDK_LOG(error) << "from a static destructor";
    const int32_t result = Logger::get_instance().internal_log(LogLevel::error, "s", "f", 1, "direct");
    if (after_logger && result != Logger::kNotReady) ::_exit(kRecordAccepted);
  }
};

void exit_with_static_objects(const TempDir& directory) {
  static const LogsWhenDestroyed outlives_logger{true};
  Logger::get_instance().init_internal_logger(config_in(directory));
  static const LogsWhenDestroyed dies_before_logger{false};
  for (int i = 0; i < 1000; ++i) SDK_LOG(info) << "record " << i;
  std::exit(3);
}

TEST(ProcessExit, WritesWhatIsQueuedAndAnswersLateStaticObjects) {
  const TempDir directory;
  EXPECT_EXIT(exit_with_static_objects(directory), ExitedWithCode(3), "");
  EXPECT_EQ(read_log_file(directory / "log.txt").size(), 1002U);
}

void exit_with_busy_threads(const TempDir& directory) {
  ::setenv("NORVIK_SDK_LOG_LEVEL", "1", 1);  // debug records are not flushed one by one: a full queue drains quickly
  Logger::get_instance().init_internal_logger(config_in(directory));
  static std::atomic<int> running{0};
  for (int t = 0; t < 4; ++t) {
    std::thread([] {
      for (++running;;) {
        SDK_LOG(debug) << "busy";
        Logger::get_instance().internal_log(LogLevel::debug, "s", "f", 1, "busy");
      }
    }).detach();
  }
  while (running < 4) std::this_thread::yield();
  std::exit(3);
}

TEST(ProcessExit, IsCleanWhileDetachedThreadsLog) {
  for (int round = 0; round < 6; ++round) {
    const TempDir directory;
    EXPECT_EXIT(exit_with_busy_threads(directory), ExitedWithCode(3), "") << round;
  }
}

// A forked child inherits the logger without its writer thread and must not wait for it.
TEST(ProcessExit, OfAForkedChildDoesNotHang) {
  const TempDir directory;
  ASSERT_TRUE(Logger::get_instance().init_internal_logger(config_in(directory)));
  SDK_LOG(info) << "the writer is idle once this is written";
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
  const auto wait_a_little = [&deadline] {
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
    return std::chrono::steady_clock::now() < deadline;
  };
  while (read_log_file(directory / "log.txt").empty() && wait_a_little()) {
  }
  const pid_t child = ::fork();
  if (child == 0) std::exit(3);
  int status = 0;
  pid_t ended = 0;
  while ((ended = ::waitpid(child, &status, WNOHANG)) == 0 && wait_a_little()) {
  }
  if (ended == 0) ::kill(child, SIGKILL);
  ASSERT_EQ(ended, child) << "the child hangs at exit";
  EXPECT_EQ(WEXITSTATUS(status), 3);
}

// ---- Consoles and disks that take nothing ----

// The write end of a pipe that is full and that nobody reads.
int full_pipe() {
  int ends[2];
  if (::pipe(ends) != 0) std::abort();
  ::fcntl(ends[1], F_SETFL, O_NONBLOCK);
  const std::string block(4096, 'x');
  while (::write(ends[1], block.data(), block.size()) > 0) {
  }
  ::fcntl(ends[1], F_SETFL, 0);
  return ends[1];
}

// Opens both channels, the application's with console output, writes 1000 records to each, and ends.
void log_and_exit(const TempDir& directory) {
  Logger& logger = Logger::get_instance();
  logger.init_internal_logger(config_in(directory));
  LoggerConfig user = config_in(directory);
  user.log_file_name = "user.txt";
  user.console_output = true;
  logger.init_user_logger(user);
  for (int i = 0; i < 1000; ++i) {
    SDK_LOG(info) << "record " << i;
    NORVIK_SDK_LOG(info) << "record " << i;
  }
  std::exit(3);
}

// A terminal whose window hangs: its buffer takes a few thousand characters.
int unread_terminal() {
  int window = -1;
  int terminal = -1;
  if (::openpty(&window, &terminal, nullptr, nullptr, nullptr) != 0) std::abort();
  return terminal;
}

// After Ctrl-S.
int stopped_terminal() {
  const int terminal = unread_terminal();
  ::tcflow(terminal, TCOOFF);
  return terminal;
}

void log_to(int (*open_console)(), const TempDir& directory) {
  const int console = open_console();
  ::dup2(console, STDOUT_FILENO);
  ::dup2(console, STDERR_FILENO);
  log_and_exit(directory);
}

class LogWithoutAReader : public ::testing::TestWithParam<int (*)()> {};

TEST_P(LogWithoutAReader, OnTheConsoleCostsNeitherTheFilesNorTheEndOfTheProcess) {
  const TempDir directory;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(log_to(GetParam(), directory), ExitedWithCode(3), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
  EXPECT_EQ(read_log_file(directory / "log.txt").size(), 1000U);
  EXPECT_EQ(read_log_file(directory / "user.txt").size(), 1000U);
}

INSTANTIATE_TEST_SUITE_P(Consoles, LogWithoutAReader,
                         ::testing::Values(&full_pipe, &unread_terminal, &stopped_terminal));

// The log file is a full pipe that blocks its writer, as a disk does that has gone away.
void log_to_a_stuck_disk(const TempDir& directory) {
  const std::string path = directory / "log.txt";
  ::mkfifo(path.c_str(), 0600);
  const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  Logger::get_instance().init_internal_logger(config_in(directory));
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    std::error_code gone;
    const int descriptor = std::stoi(entry.path().filename());
    if (descriptor != reader && std::filesystem::read_symlink(entry.path(), gone) == path) {
      ::fcntl(descriptor, F_SETFL, O_APPEND);
    }
  }
  log_and_exit(directory);
}

TEST(LogWithoutADisk, ThatIsStuckDoesNotKeepTheProcess) {
  const TempDir directory;
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EXIT(log_to_a_stuck_disk(directory), ExitedWithCode(3), "");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

void log_to_a_full_disk(const TempDir& directory) {
  std::filesystem::create_symlink("/dev/full", directory / "log.txt");
  log_and_exit(directory);
}

TEST(LogWithoutADisk, ThatIsFullIsToldOnceAndCostsTheOtherChannelNothing) {
  const TempDir directory;
  EXPECT_EXIT(log_to_a_full_disk(directory), ExitedWithCode(3),
              "^norvik_sdk: log records are lost, [^\n]*log.txt: No space left on device\n$");
  EXPECT_EQ(read_log_file(directory / "user.txt").size(), 1000U);
}

}  // namespace
}  // namespace norvik::sdk
