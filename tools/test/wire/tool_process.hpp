#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <nlohmann/json.hpp>

namespace norvik::test {

using nlohmann::json;

// The tool as a child process.
class Tool {
 public:
  explicit Tool(const std::string& arguments, const std::string& redirection = "2>&1", const std::string& before = "")
      : pipe_(::popen((before + NORVIK_TOOL_PATH + " " + arguments + " " + redirection).c_str(), "r")) {}
  ~Tool() { finish(); }
  Tool(const Tool&) = delete;
  Tool& operator=(const Tool&) = delete;

  // The next line, empty at the end of the output.
  std::string line() {
    std::string text;
    std::array<char, 4096> buffer{};
    while ((text.empty() || text.back() != '\n') && ::fgets(buffer.data(), buffer.size(), pipe_) != nullptr) {
      text += buffer.data();
    }
    return text;
  }

  std::string rest() {
    std::string text;
    for (std::string next = line(); !next.empty(); next = line()) {
      text += next;
    }
    return text;
  }

  int finish() {
    if (pipe_ != nullptr) {
      const int status = ::pclose(pipe_);
      pipe_ = nullptr;
      status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
  }

 private:
  FILE* pipe_;
  int status_ = -1;
};

struct Outcome {
  int status;
  std::string output;

  json document() const { return json::parse(output, nullptr, false); }
};

// `before` and `redirection` stand around the call on a line of the shell.
inline Outcome run_tool(const std::string& arguments, const std::string& redirection = "2>&1",
                        const std::string& before = "") {
  Tool tool(arguments, redirection, before);
  std::string output = tool.rest();
  return {tool.finish(), std::move(output)};
}

inline Outcome run_json(const std::string& arguments) { return run_tool(arguments + " --json", "2>/dev/null"); }

inline std::string own_domain() {
  const char* text = std::getenv("OVIMUX_DOMAIN_ID");
  return text != nullptr ? text : "0";
}

inline json channel_named(const json& document, const std::string& name) {
  for (const json& channel : document["channels"]) {
    if (channel["name"] == name) {
      return channel;
    }
  }
  return json::object({{"type", "missing " + name}});
}

}  // namespace norvik::test
