// Every case here needs a logger that nobody has opened yet: one process for each.
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "logger.hpp"
#include "sdk_log.hpp"
#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"

namespace norvik::sdk {
namespace {

namespace fs = std::filesystem;
using test::LogRecord;
using test::read_log_file;
using test::TempDir;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr LogLevel kLevels[] = {LogLevel::trace,   LogLevel::debug, LogLevel::info,
                                LogLevel::warning, LogLevel::error, LogLevel::critical};

LoggerConfig config_in(const TempDir& directory, const std::string& file_name = "log.txt") {
  LoggerConfig config;
  config.log_dir = directory.path().string() + "/";
  config.log_file_name = file_name;
  return config;
}

std::string only_file_in(const std::string& directory) {
  std::string found;
  for (const auto& entry : fs::directory_iterator(directory)) {
    if (!entry.is_regular_file()) continue;
    EXPECT_EQ(found, "") << "more than one file in " << directory;
    found = entry.path().filename();
  }
  return found;
}

std::string generated_name_pattern(const std::string& prefix) {
  const std::string program = fs::read_symlink("/proc/self/exe").filename();
  return prefix + program + R"(_\d{4}(-\d{2}){5}_)" + std::to_string(::getpid()) + "_" + std::to_string(::gettid()) +
         R"(\.log)";
}

struct LevelCase {
  const char* text;  // of NORVIK_SDK_LOG_LEVEL, null: unset
  LogLevel level;
};

class InternalLevel : public ::testing::TestWithParam<LevelCase> {};

TEST_P(InternalLevel, ComesFromOneDigitOfTheEnvironmentOnly) {
  const auto& [text, level] = GetParam();
  text == nullptr ? ::unsetenv("NORVIK_SDK_LOG_LEVEL") : ::setenv("NORVIK_SDK_LOG_LEVEL", text, 1);
  const TempDir directory;
  LoggerConfig config = config_in(directory);
  config.log_level = LogLevel::critical;  // not for this channel
  Logger& logger = Logger::get_instance();
  ASSERT_TRUE(logger.init_internal_logger(config));
  for (const LogLevel each : kLevels) {
    EXPECT_EQ(Logger::internal_enabled(each), each >= level);
    EXPECT_EQ(logger.internal_log(each, "source", "function", 1, "text"), Logger::kHandled);
  }
  logger.shutdown();
  EXPECT_EQ(read_log_file(directory / "log.txt").size(), 6U - static_cast<std::size_t>(level));
}

INSTANTIATE_TEST_SUITE_P(Values, InternalLevel,
                         ::testing::Values(LevelCase{nullptr, LogLevel::info}, LevelCase{"", LogLevel::info},
                                           LevelCase{"0", LogLevel::trace}, LevelCase{"3", LogLevel::warning},
                                           LevelCase{"5", LogLevel::critical}, LevelCase{"6", LogLevel::info},
                                           LevelCase{"9", LogLevel::info}, LevelCase{"12", LogLevel::info},
                                           LevelCase{"x", LogLevel::info}, LevelCase{"-1", LogLevel::info}));

TEST(LoggerFiles, AreUnderHomeWithGeneratedNames) {
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  Logger& logger = Logger::get_instance();
  ASSERT_TRUE(logger.init_internal_logger({}));
  ASSERT_TRUE(init_norvik_sdk_logger({}));

  EXPECT_EQ(logger.get_log_path(), home / "norvik_sdk_log/");
  EXPECT_EQ(only_file_in(home / "norvik_sdk_log"), logger.get_log_file_name());
  EXPECT_TRUE(std::regex_match(logger.get_log_file_name(), std::regex(generated_name_pattern("norvik_sdk_"))))
      << logger.get_log_file_name();
  const std::string user_file = only_file_in(home / "norvik_sdk_log/user_log");
  EXPECT_TRUE(std::regex_match(user_file, std::regex(generated_name_pattern("")))) << user_file;
}

TEST(LoggerFiles, AreInTheWorkingDirectoryWithoutHome) {
  const TempDir directory;
  fs::current_path(directory.path());
  ::unsetenv("HOME");
  Logger& logger = Logger::get_instance();
  ASSERT_TRUE(logger.init_internal_logger({}));
  EXPECT_EQ(logger.get_log_path(), "./");
  EXPECT_EQ(only_file_in("."), logger.get_log_file_name());
}

TEST(LoggerFiles, OnlyTheUserChannelAddsTheMissingSlash) {
  const TempDir directory;
  LoggerConfig config;
  config.log_dir = directory / "not/yet/there";
  config.log_file_name = "log.txt";
  ASSERT_TRUE(Logger::get_instance().init_internal_logger(config));
  ASSERT_TRUE(init_norvik_sdk_logger(config));
  EXPECT_TRUE(fs::exists(directory / "not/yet/therelog.txt"));
  EXPECT_TRUE(fs::exists(directory / "not/yet/there/log.txt"));
}

TEST(LoggerFiles, RotateAtTheGivenSizeAndKeepTheGivenNumber) {
  const TempDir directory;
  LoggerConfig config = config_in(directory);
  config.max_file_size = 1000;
  config.max_files = 2;
  ASSERT_TRUE(init_norvik_sdk_logger(config));
  for (int i = 0; i < 100; ++i) NORVIK_SDK_LOG(info) << std::string(90, 'x');
  Logger::get_instance().shutdown();
  for (const auto& [name, expected] :
       {std::pair{"log.txt", true}, {"log.txt.1", true}, {"log.txt.2", true}, {"log.txt.3", false}}) {
    EXPECT_EQ(fs::exists(directory / name), expected) << name;
    if (!expected) continue;
    EXPECT_LE(fs::file_size(directory / name), 1000U) << name;
  }
}

TEST(LoggerSetUp, HappensOnceWhateverLaterCallsPass) {
  const TempDir directory;
  ASSERT_TRUE(init_norvik_sdk_logger(config_in(directory, "first.txt")));
  LoggerConfig other = config_in(directory, "second.txt");
  other.log_level = LogLevel::trace;
  EXPECT_TRUE(init_norvik_sdk_logger(other));
  EXPECT_FALSE(fs::exists(directory / "second.txt"));
  EXPECT_FALSE(NorvikSdkLogStream::is_enabled(LogLevel::debug));
}

struct BadConfig {
  uint64_t max_file_size;
  uint64_t max_files;
  const char* directory;
  const char* message;
};

class LoggerRefusal : public ::testing::TestWithParam<BadConfig> {};

// The standard library's call_once does not survive exceptions under the thread sanitizer's interceptor.
#if defined(NORVIK_THREAD_SANITIZER)
#define NORVIK_SKIP_UNDER_TSAN() GTEST_SKIP() << "call_once with exceptions hangs under the thread sanitizer"
#else
#define NORVIK_SKIP_UNDER_TSAN() static_cast<void>(0)
#endif

TEST_P(LoggerRefusal, ReachesTheCallerAndLeavesTheChannelClosedUntilABetterConfiguration) {
  NORVIK_SKIP_UNDER_TSAN();
  const auto& [max_file_size, max_files, bad_directory, message] = GetParam();
  const TempDir directory;
  LoggerConfig config = config_in(directory);
  config.max_file_size = max_file_size;
  config.max_files = max_files;
  if (bad_directory != nullptr) config.log_dir = bad_directory;
  Logger& logger = Logger::get_instance();
  for (const bool user : {false, true}) {
    try {
      user ? init_norvik_sdk_logger(config) : logger.init_internal_logger(config);
      ADD_FAILURE() << "no exception";
    } catch (const std::exception& error) {
      EXPECT_THAT(error.what(), HasSubstr(message));
    }
  }
  EXPECT_EQ(logger.internal_log(LogLevel::error, "source", "function", 1, "text"), Logger::kNotReady);
  EXPECT_EQ(logger.user_log(LogLevel::error, "source", "function", 1, "text"), Logger::kNotReady);
  EXPECT_TRUE(logger.init_internal_logger(config_in(directory, "internal.txt")));
  EXPECT_TRUE(init_norvik_sdk_logger(config_in(directory, "user.txt")));
}

INSTANTIATE_TEST_SUITE_P(
    Configs, LoggerRefusal,
    ::testing::Values(BadConfig{0, 5, nullptr, "rotating sink constructor: max_size arg cannot be zero"},
                      BadConfig{100, 200001, nullptr, "rotating sink constructor: max_files arg cannot exceed 200000"},
                      BadConfig{100, 5, "/proc/no/such/place/", "Failed opening file"}));

TEST(LoggerRecords, CarryLevelSourceAndLineAndStayInTheirChannel) {
  const TempDir directory;
  Logger& logger = Logger::get_instance();
  LoggerConfig user = config_in(directory, "user.txt");
  user.log_level = LogLevel::warning;
  ASSERT_TRUE(logger.init_internal_logger(config_in(directory, "internal.txt")));
  ASSERT_TRUE(init_norvik_sdk_logger(user));

  // NOLINTBEGIN(readability-braces-around-statements) the macro must not take another's else
  SDK_LOG(info) << "from the library " << 1;
  const int line = __LINE__ - 1;
  if (line > 0)
    NORVIK_SDK_LOG(error) << "from the application";
  else
    NORVIK_SDK_LOG(error) << "never";
  // NOLINTEND(readability-braces-around-statements)
  NORVIK_SDK_LOG(info) << "below the level";
  LoggerHelper(LogLevel::critical, "helper", "function", 7, true).stream() << "by hand {}";
  NorvikSdkLogStream::record_log(LogLevel::warning, nullptr, nullptr, 8, "no source");

  const auto odd_level = [](int value) { return static_cast<LogLevel>(value); };
  EXPECT_EQ(logger.internal_log(odd_level(6), "source", "function", 1, "no such level"), Logger::kHandled);
  EXPECT_EQ(logger.internal_log(odd_level(-1), "source", "function", 1, "no such level"), Logger::kHandled);
  EXPECT_EQ(logger.internal_log(LogLevel::error, "source", "function", 1, ""), Logger::kHandled);
  EXPECT_EQ(logger.internal_log(LogLevel::error, "source", "function", 1, nullptr), Logger::kHandled);
  logger.shutdown();

  const auto flat = [](const std::vector<LogRecord>& records) {
    std::vector<std::string> lines;
    lines.reserve(records.size());
    for (const LogRecord& r : records)
      lines.push_back(r.level + " " + r.source + ":" + std::to_string(r.line) + " " + r.text);
    return lines;
  };
  EXPECT_THAT(flat(read_log_file(directory / "internal.txt")),
              ElementsAre("info logger_setup_test:" + std::to_string(line) + " from the library 1"));
  EXPECT_THAT(flat(read_log_file(directory / "user.txt")),
              ElementsAre("error logger_setup_test:" + std::to_string(line + 3) + " from the application",
                          "critical helper:7 by hand {}", "warning :8 no source"));
  std::string first;
  std::ifstream file(directory / "internal.txt");
  std::getline(file, first);
  EXPECT_TRUE(std::regex_match(
      first, std::regex(R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} thread:\d+ info logger_setup_test:\d+\]:.*)")))
      << first;
}

TEST(LoggerRecords, GoToTheConsoleBareWhenAskedFor) {
  const TempDir directory;
  LoggerConfig config = config_in(directory);
  config.console_output = true;
  ::testing::internal::CaptureStdout();
  ASSERT_TRUE(init_norvik_sdk_logger(config));
  NORVIK_SDK_LOG(info) << "bare";
  Logger::get_instance().shutdown();
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "bare\n");
  EXPECT_EQ(read_log_file(directory / "log.txt").size(), 1U);
}

TEST(LoggerRecords, CostNothingBelowTheLevelOrBeforeTheLogIsOpen) {
  int evaluations = 0;
  const auto value = [&] { return ++evaluations; };
  SDK_LOG(critical) << value();
  NORVIK_SDK_LOG(critical) << value();
  EXPECT_EQ(evaluations, 0);
  EXPECT_EQ(Logger::get_instance().internal_log(LogLevel::critical, "s", "f", 1, "text"), Logger::kNotReady);
  EXPECT_EQ(Logger::get_instance().user_log(LogLevel::critical, "s", "f", 1, "text"), Logger::kNotReady);

  ::unsetenv("NORVIK_SDK_LOG_LEVEL");
  const TempDir directory;
  ASSERT_TRUE(Logger::get_instance().init_internal_logger(config_in(directory)));
  SDK_LOG(debug) << value();
  EXPECT_EQ(evaluations, 0);
  SDK_LOG(info) << value();
  EXPECT_EQ(evaluations, 1);
}

TEST(LoggerRecords, AreCutWhenTheyRepeatAnEndlessName) {
  test::SdkLogCapture capture;
  SDK_LOG(error) << "unknown group: " << std::string(1000000, 'x');
  const auto texts = capture.texts("error");
  ASSERT_EQ(texts.size(), 1U);
  EXPECT_LT(texts.front().size(), 20000U);
  EXPECT_NE(texts.front().find("xxx ... (1000015 bytes)"), std::string::npos);
}

}  // namespace
}  // namespace norvik::sdk
