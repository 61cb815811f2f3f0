#include "support/child_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

namespace norvik::test {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

struct Pipe {
  int read_end = -1;
  int write_end = -1;
};

// Children get no other end of it than the one they are given.
Pipe open_pipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe2");
  }
  return {ends[0], ends[1]};
}

void close_descriptor(int& descriptor) {
  if (descriptor >= 0) {
    ::close(std::exchange(descriptor, -1));
  }
}

std::vector<char*> pointers_to(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::vector<std::string> changed_environment(const ChildProcess::Environment& changes) {
  std::vector<std::string> variables;
  for (char** variable = environ; *variable != nullptr; ++variable) {
    const std::string text = *variable;
    if (changes.count(text.substr(0, text.find('='))) == 0) {
      variables.push_back(text);
    }
  }
  for (const auto& [name, value] : changes) {
    variables.emplace_back(name).append("=").append(value);
  }
  return variables;
}

// The error number, 0 for success. A descriptor of -1 leaves the child this process's stream.
int spawn(pid_t& pid, std::vector<std::string>& command, std::vector<std::string> environment, int input, int output) {
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  if (input >= 0) {
    ::posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
  }
  if (output >= 0) {
    ::posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
  }
  const int error = ::posix_spawn(&pid, command.at(0).c_str(), &actions, nullptr, pointers_to(command).data(),
                                  pointers_to(environment).data());
  ::posix_spawn_file_actions_destroy(&actions);
  return error;
}

// As write(), but the reader's death is an error only and no signal, whatever the process does about SIGPIPE.
ssize_t write_quietly(int descriptor, const std::string& text) {
  sigset_t pipe_signal;
  sigset_t before;
  ::sigemptyset(&pipe_signal);
  ::sigaddset(&pipe_signal, SIGPIPE);
  ::pthread_sigmask(SIG_BLOCK, &pipe_signal, &before);
  const ssize_t written = ::write(descriptor, text.data(), text.size());
  if (written < 0 && errno == EPIPE) {
    const timespec at_once{};
    ::sigtimedwait(&pipe_signal, nullptr, &at_once);
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return written;
}

}  // namespace

ChildProcess::ChildProcess(std::vector<std::string> command, Streams streams, const Environment& changes) {
  Pipe input;
  Pipe output;
  if (streams == Streams::piped) {
    input = open_pipe();
    output = open_pipe();
  }
  const int error = spawn(pid_, command, changed_environment(changes), input.read_end, output.write_end);
  close_descriptor(input.read_end);
  close_descriptor(output.write_end);
  if (error != 0) {
    close_descriptor(input.write_end);
    close_descriptor(output.read_end);
    throw std::system_error(error, std::generic_category(), command.front());
  }
  input_ = input.write_end;
  output_ = output.read_end;
}

ChildProcess::~ChildProcess() {
  if (!has_ended()) {
    kill(SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
  close_descriptor(input_);
  close_descriptor(output_);
}

bool ChildProcess::write_line(const std::string& line) {
  const std::string text = line + "\n";
  return write_quietly(input_, text) == static_cast<ssize_t>(text.size());
}

void ChildProcess::close_input() { close_descriptor(input_); }

std::optional<std::string> ChildProcess::read_line(milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  std::size_t end = 0;
  while ((end = unread_.find('\n')) == std::string::npos) {
    if (!read_more(deadline)) {
      return std::nullopt;
    }
  }
  std::string line = unread_.substr(0, end);
  unread_.erase(0, end + 1);
  return line;
}

std::string ChildProcess::read_rest(milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (read_more(deadline)) {
  }
  return std::exchange(unread_, "");
}

// False at the end of the output and on time-out.
bool ChildProcess::read_more(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<milliseconds>(deadline - Clock::now());
  pollfd readable{output_, POLLIN, 0};
  if (output_ < 0 || left.count() <= 0 || ::poll(&readable, 1, static_cast<int>(left.count())) <= 0) {
    return false;
  }
  std::array<char, 4096> buffer{};
  const ssize_t size = ::read(output_, buffer.data(), buffer.size());
  unread_.append(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  return size > 0;
}

void ChildProcess::kill(int signal_number) {
  if (!exit_status_) {
    ::kill(pid_, signal_number);
  }
}

std::optional<int> ChildProcess::wait_for_exit(milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (!has_ended() && Clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  return exit_status_;
}

bool ChildProcess::has_ended() {
  int status = 0;
  if (!exit_status_ && ::waitpid(pid_, &status, WNOHANG) == pid_) {
    exit_status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  return exit_status_.has_value();
}

}  // namespace norvik::test
