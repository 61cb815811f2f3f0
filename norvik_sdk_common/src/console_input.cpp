#include <norvik_sdk/console_input.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <sstream>

namespace norvik::sdk {
namespace {

constexpr char kBlanks[] = " \t\r\n";
constexpr char kNotAnInteger[] = "输入错误，请输入有效的整数，或输入 'q' 退出当前命令";
constexpr char kNotANumber[] = "输入错误，请输入有效的数字，或输入 'q' 退出当前命令";

std::string trim(const std::string& text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string::npos) return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// Asks until `convert` (one of the std::sto... family) accepts the text. At the end of input asking again would go on
// for ever.
template <typename Number, typename Convert>
bool read_number(Number& out, const std::string& prompt, const char* complaint, Convert convert) {
  std::string text;
  while (safe_read_input(text, prompt)) {
    try {
      out = convert(text);
      return true;
    } catch (const std::exception&) {
      std::cout << complaint << std::endl;
    }
    if (!std::cin) return false;
  }
  return false;
}

}  // namespace

bool safe_read_input(std::string& out, const std::string& prompt) {
  if (!prompt.empty()) std::cout << prompt << std::flush;
  std::string line;
  std::getline(std::cin, line);
  out = trim(line);
  return out != "q" && out != "quit" && out != "exit";
}

bool safe_read_int(int& out, const std::string& prompt) {
  return read_number(out, prompt, kNotAnInteger, [](const std::string& text) { return std::stoi(text); });
}

bool safe_read_int64(long& out, const std::string& prompt) {
  return read_number(out, prompt, kNotAnInteger, [](const std::string& text) { return std::stoll(text); });
}

bool safe_read_double(double& out, const std::string& prompt) {
  return read_number(out, prompt, kNotANumber, [](const std::string& text) { return std::stod(text); });
}

bool safe_read_doubles(std::vector<double>& out, int count, const std::string& prompt) {
  std::string line;
  if (!safe_read_input(line, prompt)) return false;
  const auto wanted = static_cast<std::size_t>(std::max(count, 0));
  out.clear();
  out.reserve(wanted);
  std::istringstream numbers(line);
  for (double value = 0.0; out.size() < wanted && numbers >> value;) out.push_back(value);
  if (out.size() == wanted) return true;
  std::cout << "输入错误，需要 " << count << " 个数字，已取消命令" << std::endl;
  return false;
}

}  // namespace norvik::sdk
