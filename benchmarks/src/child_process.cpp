#include "child_process.hpp"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>

namespace norvik::benchmarks {

ChildProcess::ChildProcess(const std::vector<std::string>& command) {
  std::array<int, 2> to_child{};
  std::array<int, 2> from_child{};
  if (pipe2(to_child.data(), O_CLOEXEC) != 0 || pipe2(from_child.data(), O_CLOEXEC) != 0) {
    throw std::runtime_error("pipe failed");
  }
  std::vector<char*> arguments;
  arguments.reserve(command.size() + 1);
  for (const auto& argument : command) {
    arguments.push_back(const_cast<char*>(argument.c_str()));
  }
  arguments.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(to_child[0], STDIN_FILENO);
    dup2(from_child[1], STDOUT_FILENO);
    execv(arguments[0], arguments.data());
    _exit(127);
  }
  close(to_child[0]);
  close(from_child[1]);
  input_ = fdopen(to_child[1], "w");
  output_ = fdopen(from_child[0], "r");
}

ChildProcess::~ChildProcess() {
  std::fclose(input_);
  kill(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
  std::fclose(output_);
}

std::optional<std::string> ChildProcess::read_line() {
  std::array<char, 4096> buffer{};
  if (std::fgets(buffer.data(), buffer.size(), output_) == nullptr) {
    return std::nullopt;
  }
  std::string line(buffer.data());
  while (!line.empty() && line.back() == '\n') {
    line.pop_back();
  }
  return line;
}

std::string ChildProcess::read_after(const std::string& prefix) {
  while (const auto line = read_line()) {
    if (line->compare(0, prefix.size(), prefix) == 0) {
      return line->substr(prefix.size());
    }
  }
  throw std::runtime_error("a benchmark process ended before it said \"" + prefix + "\"");
}

void ChildProcess::write_line(const std::string& line) {
  std::fprintf(input_, "%s\n", line.c_str());
  std::fflush(input_);
}

void ChildProcess::terminate() { kill(pid_, SIGTERM); }

std::vector<std::string> self_command(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "/proc/self/exe");
  return arguments;
}

}  // namespace norvik::benchmarks
