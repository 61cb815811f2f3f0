#include "support/peer_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>

#include "support/eventually.hpp"

namespace norvik::ovimux::test {

PeerProcess::PeerProcess(const std::string& program, std::vector<std::string> arguments) {
  std::signal(SIGPIPE, SIG_IGN);  // A peer that died shows as an empty answer.
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (auto& argument : arguments) {
    argv.push_back(argument.data());
  }
  argv.push_back(nullptr);
  std::array<int, 2> input{};
  std::array<int, 2> output{};
  if (pipe2(input.data(), O_CLOEXEC) != 0 || pipe2(output.data(), O_CLOEXEC) != 0) {
    std::abort();
  }
  pid_ = fork();
  if (pid_ == 0) {
    dup2(input[0], STDIN_FILENO);
    dup2(output[1], STDOUT_FILENO);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(input[0]);
  close(output[1]);
  to_child_ = input[1];
  from_child_ = output[0];
}

PeerProcess::~PeerProcess() {
  kill(SIGKILL);
  wait(std::chrono::seconds(5));
  close(to_child_);
  close(from_child_);
}

std::string PeerProcess::ask(const std::string& line, std::chrono::milliseconds limit) {
  const std::string text = line + "\n";
  if (write(to_child_, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
    return "";
  }
  return read_line(limit);
}

std::string PeerProcess::read_line(std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  while (unread_.find('\n') == std::string::npos) {
    const auto left =
        std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    pollfd readable{from_child_, POLLIN, 0};
    std::array<char, 4096> buffer{};
    if (left.count() <= 0 || poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
      return "";
    }
    const ssize_t length = read(from_child_, buffer.data(), buffer.size());
    if (length <= 0) {
      return "";
    }
    unread_.append(buffer.data(), static_cast<size_t>(length));
  }
  const std::string line = unread_.substr(0, unread_.find('\n'));
  unread_.erase(0, line.size() + 1);
  return line;
}

void PeerProcess::kill(int signal_number) {
  if (!status_) {
    ::kill(pid_, signal_number);
  }
}

std::optional<int> PeerProcess::wait(std::chrono::milliseconds limit) {
  eventually(
      [this] {
        int status = 0;
        if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) {
          status_ = status;
        }
        return status_.has_value();
      },
      limit);
  return status_;
}

}  // namespace norvik::ovimux::test
