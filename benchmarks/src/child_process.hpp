#pragma once

#include <sys/types.h>

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace norvik::benchmarks {

// A child process whose standard input and output are pipes of ours. Killed, if still running, on destruction.
class ChildProcess {
 public:
  explicit ChildProcess(const std::vector<std::string>& command);
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // The next line of its output; nothing at its end.
  std::optional<std::string> read_line();
  // Reads lines until one begins with `prefix` and returns the rest of that line.
  std::string read_after(const std::string& prefix);
  void write_line(const std::string& line);
  void terminate();

 private:
  pid_t pid_ = -1;
  FILE* output_ = nullptr;
  FILE* input_ = nullptr;
};

// This program in another role.
std::vector<std::string> self_command(std::vector<std::string> arguments);

}  // namespace norvik::benchmarks
