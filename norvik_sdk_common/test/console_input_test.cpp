#include <norvik_sdk/console_input.hpp>

#include <iostream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace norvik::sdk {
namespace {

constexpr char kNotAnInteger[] = "输入错误，请输入有效的整数，或输入 'q' 退出当前命令\n";
constexpr char kNotANumber[] = "输入错误，请输入有效的数字，或输入 'q' 退出当前命令\n";

// Puts texts in place of the process's standard streams.
class Console {
 public:
  explicit Console(const std::string& typed)
      : in_(typed), old_in_(std::cin.rdbuf(in_.rdbuf())), old_out_(std::cout.rdbuf(out_.rdbuf())) {
    std::cin.clear();
  }
  ~Console() {
    std::cin.rdbuf(old_in_);
    std::cout.rdbuf(old_out_);
    std::cin.clear();
  }
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::string printed() const { return out_.str(); }

 private:
  std::istringstream in_;
  std::ostringstream out_;
  std::streambuf* old_in_;
  std::streambuf* old_out_;
};

TEST(SafeReadInput, TrimsAndRecognisesQuitting) {
  struct Case {
    std::string typed;
    std::string text;
    bool result;
  };
  const Case cases[] = {
      {"  hello world\t\r\n", "hello world", true},
      {" \t \r\n", "", true},
      {"", "", true},
      {"  quit  \n", "quit", false},
      {"q\n", "q", false},
      {"exit\n", "exit", false},
      {"Q\n", "Q", true},
      {"quit now\n", "quit now", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    const Console console(c.typed);
    std::string text = "old";
    EXPECT_EQ(safe_read_input(text, "> "), c.result);
    EXPECT_EQ(text, c.text);
    EXPECT_EQ(console.printed(), "> ");
  }
}

template <typename Number>
void expect_number(bool (*read)(Number&, const std::string&), const std::string& typed, std::optional<Number> expected,
                   const std::string& printed) {
  SCOPED_TRACE(typed);
  const Console console(typed);
  Number number = 77;
  EXPECT_EQ(read(number, ""), expected.has_value());
  EXPECT_EQ(number, expected.value_or(77));
  EXPECT_EQ(console.printed(), printed);
}

TEST(SafeReadNumber, AsksAgainUntilANumberOrQuit) {
  const std::string integer = kNotAnInteger;
  const std::string number = kNotANumber;
  expect_number<int>(safe_read_int, " 12abc \n", 12, "");
  expect_number<int>(safe_read_int, "x\n\n99999999999\n-5\n", -5, integer + integer + integer);
  expect_number<int>(safe_read_int, "x\n  quit  \n", std::nullopt, integer);
  expect_number<int>(safe_read_int, "", std::nullopt, integer);  // end of input: nobody is left to ask
  expect_number<long>(safe_read_int64, "99999999999\n", 99999999999L, "");
  expect_number<long>(safe_read_int64, "9999999999999999999\n7\n", 7L, integer);
  expect_number<double>(safe_read_double, "one\n-1.5e2m\n", -150.0, number);
  expect_number<double>(safe_read_double, "1e999\nq\n", std::nullopt, number);
}

TEST(SafeReadDoubles, ReadsOneLineAndDoesNotAskAgain) {
  struct Case {
    std::string typed;
    int count;
    bool result;
    std::vector<double> numbers;
    std::string printed;
  };
  const Case cases[] = {
      {" 1 2.5\t-3e1 \n", 3, true, {1.0, 2.5, -30.0}, "> "},
      {"1 2 3 4\n", 3, true, {1.0, 2.0, 3.0}, "> "},
      {"1 2\n3\n", 3, false, {1.0, 2.0}, "> 输入错误，需要 3 个数字，已取消命令\n"},
      {"1, 2, 3\n", 3, false, {1.0}, "> 输入错误，需要 3 个数字，已取消命令\n"},
      {"exit\n", 3, false, {77.0}, "> "},
      {"\n", 0, true, {}, "> "},
      {"1\n", -1, true, {}, "> "},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.typed);
    const Console console(c.typed);
    std::vector<double> numbers{77.0};
    EXPECT_EQ(safe_read_doubles(numbers, c.count, "> "), c.result);
    EXPECT_EQ(numbers, c.numbers);
    EXPECT_EQ(console.printed(), c.printed);
  }
}

}  // namespace
}  // namespace norvik::sdk
