#include <sys/stat.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iomanip>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "impl/norvik_robot_k2.hpp"
#include "impl/system/log_line.hpp"
#include "impl/system/log_reader.hpp"
#include "sdk_log.hpp"
#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"

namespace norvik::sdk {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;

const char* const kGrammar =
    "^\\[([0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3})[[:space:]]+thread:[0-9]+[[:space:]]+"
    "([a-zA-Z]+).*\\]:(.*)$";

// The parser must agree with the grammar on any line. True for a line that is a record.
bool expect_same_as_grammar(const std::string& line) {
  static const std::regex grammar(kGrammar);
  SCOPED_TRACE(line);
  std::smatch match;
  const bool matches = std::regex_match(line, match, grammar);
  const auto parts = parse_log_line(line);
  EXPECT_EQ(parts.has_value(), matches);
  if (matches && parts) {
    EXPECT_EQ(parts->time, match[1].str());
    EXPECT_EQ(parts->level, match[2].str());
    EXPECT_EQ(parts->message, match[3].str());
  }
  return matches;
}

TEST(LogLine, AgreesWithTheGrammar) {
  const std::string head = "[2024-05-01 12:00:00.123 thread:7 info file:42]:";
  const char* const lines[] = {
      "[2024-05-01 12:00:00.123 thread:7 info file:42]:message",
      "[2024-05-01 12:00:00.123 thread:7 info file:42]:",
      "[2024-05-01 12:00:00.123 thread:7 info file:42]:a]:b]:c",
      "[2024-05-01 12:00:00.123 thread:7 info]:x",
      "[2024-05-01 12:00:00.123 \t thread:7 \v info7 ]:x",
      "[2024-05-01 12:00:00.123thread:7 info]:x",
      "[2024-05-01 12:00:00 thread:7 info file:42]:no milliseconds",
      "[2024-05-01 12:00:00.12 thread:7 info file:42]:x",
      "[2024-05-01 12:00:00.123 thread:x info file:42]:x",
      "[2024-05-01 12:00:00.123 thread:7info file:42]:x",
      "[2024-05-01 12:00:00.123 thread:7 9 file:42]:x",
      "[2024-05-01 12:00:00.123 thread:7 info file:42] :x",
      "[2024-05-01 12:00:00.123 thread:7 info file:42]:carriage\rreturn",
      " [2024-05-01 12:00:00.123 thread:7 info file:42]:x",
      "[2024-05-01 12:00:00.123 thread:7 info file:42]:\xe4\xbd\xa0\x01",
      "",
      "[",
  };
  for (const char* const line : lines) {
    expect_same_as_grammar(line);
  }
  expect_same_as_grammar(std::string(head).append("zero\0inside", 11));

  std::mt19937 random(1);
  const std::string alphabet = "[]: \t\r.-0a9Zthread:";
  int records = 0;
  for (int i = 0; i < 3000; ++i) {
    std::string line = head + "text";
    for (int change = 0; change < 2; ++change) {
      line[random() % line.size()] = alphabet[random() % alphabet.size()];
    }
    records += expect_same_as_grammar(line.substr(0, line.size() - random() % 3)) ? 1 : 0;
  }
  EXPECT_GT(records, 300);
  EXPECT_LT(records, 2700);
}

TEST(LogLine, TakesALineOfAnyLength) {
  const std::string text(5'000'000, ':');
  const std::string line = "[2024-05-01 12:00:00.123 thread:7 info file:42]:" + text;
  const auto parts = parse_log_line(line);
  ASSERT_TRUE(parts);
  EXPECT_EQ(parts->message.size(), text.size());
}

TEST(LogLine, TimeIsLocalAndChecked) {
  for (const char* const zone : {"UTC", "America/New_York", "Asia/Shanghai"}) {
    SCOPED_TRACE(zone);
    ::setenv("TZ", zone, 1);
    ::tzset();
    for (const std::time_t seconds : {std::time_t{1700000000}, std::time_t{1719800000}}) {  // Winter and summer.
      std::tm local{};
      ::localtime_r(&seconds, &local);
      std::ostringstream text;
      text << std::put_time(&local, "%Y-%m-%d %H:%M:%S") << ".042";
      EXPECT_EQ(parse_log_time(text.str()), milliseconds(seconds * 1000 + 42));
    }
  }
  ::unsetenv("TZ");
  ::tzset();
  const struct {
    const char* text;
    bool is_time;
  } cases[] = {{"2024-13-01 00:00:00.000", false}, {"2024-00-01 00:00:00.000", false},
               {"2024-01-00 00:00:00.000", false}, {"2024-01-32 00:00:00.000", false},
               {"2024-01-01 24:00:00.000", false}, {"2024-01-01 00:60:00.000", false},
               {"2024-01-01 00:00:61.000", false}, {"2024-01-01 23:59:60.999", true},
               {"9999-12-31 00:00:00.000", true},  {"0000-01-01 00:00:00.000", true}};
  for (const auto& c : cases) {
    EXPECT_EQ(parse_log_time(c.text).has_value(), c.is_time) << c.text;
  }
}

class LogFiles : public ::testing::Test {
 protected:
  std::string write(const std::string& name, const std::string& text, int age_s = 0) {
    std::string path = directory_ / name;
    std::ofstream(path, std::ios::binary) << text;
    fs::last_write_time(path, fs::file_time_type(std::chrono::hours(480000) - std::chrono::seconds(age_s)));
    return path;
  }
  std::string directory() const { return directory_.path().string(); }

  test::TempDir directory_;
};

TEST_F(LogFiles, AreThoseOfTheNameOldestFirst) {
  const std::string newest = write("sdk.log", "", 1);
  const std::string oldest = write("sdk.log.2", "", 9);
  const std::string same_b = write("sdk.log.b", "", 5);
  const std::string same_a = write("sdk.log.a", "", 5);
  write("sdk.logs", "");
  write("other.log", "");
  write("sdk.1.log", "");
  fs::create_directory(directory_ / "sdk.log.dir");
  fs::create_symlink(newest, directory_ / "sdk.log.link");

  const std::vector<fs::path> expected = {oldest, same_a, same_b, newest};
  EXPECT_EQ(find_log_files(directory(), "sdk.log"), expected);
  EXPECT_EQ(find_log_files(directory() + "/", "sdk.log"), expected);
  EXPECT_EQ(find_log_files(directory_ / "missing", "sdk.log"), std::nullopt);
  EXPECT_EQ(find_log_files("", "sdk.log"), std::nullopt);
}

TEST_F(LogFiles, GiveTheMessagesOfOneLevelInOrder) {
  const fs::path first = write("a",
                               "[2024-05-01 12:00:00.000 thread:1 info f:1]:one \r\n"
                               "[2024-05-01 12:00:00.000 thread:1 infos f:1]:other level\n"
                               "[2024-05-01 12:00:00.000 thread:1 warning f:1]:warned\n"
                               "continued message\n"
                               "[2024-99-01 12:00:00.000 thread:1 info f:1]:no such month\n");
  const fs::path second = write("b",
                                "[2024-05-01 12:00:00.000 thread:1 info f:1]:\n"
                                "[2024-05-01 12:00:00.000 thread:1 info f:1]:head]:three");
  const auto extract = extract_log_messages({first, directory_ / "gone", second}, "info", std::nullopt);
  EXPECT_EQ(extract.content, "one\n\nthree");
  EXPECT_EQ(extract.matched_lines, 3U);
  EXPECT_EQ(extract.total_lines, 7U);
}

TEST_F(LogFiles, AreCutOffByTime) {
  const auto at = parse_log_time("2024-05-01 12:00:00.500");
  ASSERT_TRUE(at);
  const std::vector<fs::path> file = {write("a", "[2024-05-01 12:00:00.500 thread:1 info f:1]:x\n")};
  EXPECT_EQ(extract_log_messages(file, "info", *at).matched_lines, 1U);
  EXPECT_EQ(extract_log_messages(file, "info", *at + milliseconds(1)).matched_lines, 0U);
}

// Writes numbered records as the logger does, one line at a time, and begins a new file after every 50.
class RotatingLog {
 public:
  explicit RotatingLog(fs::path path) : path_(std::move(path)) {}

  void write(int records) {
    for (int i = 0; i < records; ++i) {
      if (i % kRecordsPerFile == 0) {
        rotate();
      }
      std::ofstream(path_, std::ios::app) << "[2024-05-01 12:00:00.000 thread:1 info f:1]:record " << i << " whole\n";
    }
  }

  static constexpr int kRecordsPerFile = 50;

 private:
  // Keeps two older files: .1 is younger than .2.
  void rotate() {
    std::error_code first_time;
    fs::rename(path_.string() + ".1", path_.string() + ".2", first_time);
    fs::rename(path_, path_.string() + ".1", first_time);
  }

  const fs::path path_;
};

TEST_F(LogFiles, AreReadWhileTheyAreWrittenAndRotated) {
  constexpr int kRecords = 20000;
  std::atomic<bool> done{false};
  std::thread writer([&] {
    RotatingLog(directory_ / "sdk.log").write(kRecords);
    done = true;
  });
  static const std::regex whole_records("(record [0-9]+ whole(\n|$))*");
  int searches_with_matches = 0;
  while (!done) {
    const auto files = find_log_files(directory(), "sdk.log");
    ASSERT_TRUE(files);
    const auto extract = extract_log_messages(*files, "info", std::nullopt);
    EXPECT_TRUE(std::regex_match(extract.content, whole_records)) << extract.content;
    EXPECT_LE(extract.matched_lines, 4U * RotatingLog::kRecordsPerFile);  // A file met under two names counts twice.
    searches_with_matches += extract.matched_lines > 0 ? 1 : 0;
  }
  writer.join();
  EXPECT_GT(searches_with_matches, 20);

  const auto extract = extract_log_messages(*find_log_files(directory(), "sdk.log"), "info", std::nullopt);
  EXPECT_EQ(extract.matched_lines, 3U * RotatingLog::kRecordsPerFile);
  EXPECT_NE(extract.content.find("record 19999 whole"), std::string::npos);
}

TEST(LogInformation, ReadsTheLibrarysOwnLog) {
  test::SdkLogCapture log;
  k2::NorvikRobotK2 robot;
  SDK_LOG(warning) << "log information probe";
  ASSERT_TRUE(log.has("warning", "log information probe"));  // It has reached the file.

  for (const uint64_t window_s : {uint64_t{0}, uint64_t{600}, UINT64_MAX}) {
    const auto warnings = robot.get_log_information(window_s, LogLevel::warning);
    ASSERT_NE(warnings, nullptr);
    EXPECT_EQ(warnings->level, "warning");
    EXPECT_NE(warnings->content.find("log information probe"), std::string::npos) << window_s;
  }
  EXPECT_EQ(robot.get_log_information(0, LogLevel::error)->content.find("probe"), std::string::npos);
  EXPECT_EQ(robot.get_log_information(0, static_cast<LogLevel>(6)), nullptr);

  EXPECT_TRUE(log.has("info", "log_file_name: " + Logger::get_instance().get_log_file_name()));
  EXPECT_TRUE(log.has("info", "log_dir: " + Logger::get_instance().get_log_path()));
  EXPECT_TRUE(log.has_containing("info", " lines for level: warning"));
}

}  // namespace
}  // namespace norvik::sdk
