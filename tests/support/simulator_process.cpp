#include "support/simulator_process.hpp"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <thread>

#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

extern char** environ;

namespace norvik::test {

namespace {

using Clock = std::chrono::steady_clock;

struct Pipe {
  int read_end = -1;
  int write_end = -1;
};

Pipe make_pipe() {
  int ends[2];
  return ::pipe2(ends, O_CLOEXEC) == 0 ? Pipe{ends[0], ends[1]} : Pipe{};
}

void close_fd(int& fd) {
  if (fd >= 0) {
    ::close(fd);
    fd = -1;
  }
}

// -1 when the program cannot be started.
pid_t spawn_simulator(const std::vector<std::string>& arguments, int stdin_fd, int stdout_fd) {
  std::vector<char*> argv{const_cast<char*>(NORVIK_SIMULATOR_PATH)};
  for (const std::string& argument : arguments) {
    argv.push_back(const_cast<char*>(argument.c_str()));
  }
  argv.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, stdin_fd, STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, stdout_fd, STDOUT_FILENO);
  pid_t pid = -1;
  const int error = ::posix_spawn(&pid, NORVIK_SIMULATOR_PATH, &actions, nullptr, argv.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  return error == 0 ? pid : -1;
}

int exit_status_of(int status) { return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status); }

// What can be read until `deadline`; empty at the end of the stream and on time-out.
std::string read_some(int fd, Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  pollfd descriptor{fd, POLLIN, 0};
  if (left.count() <= 0 || ::poll(&descriptor, 1, static_cast<int>(left.count())) <= 0) {
    return "";
  }
  char buffer[4096];
  const ssize_t size = ::read(fd, buffer, sizeof(buffer));
  return size > 0 ? std::string(buffer, static_cast<size_t>(size)) : "";
}

}  // namespace

SimulatorProcess::SimulatorProcess(std::vector<std::string> arguments) : arguments_(std::move(arguments)) {}

// Gently: Fast DDS may crash in a process that ends within a second of the death of a peer that held its shared memory.
SimulatorProcess::~SimulatorProcess() { terminate(std::chrono::seconds(5)); }

bool SimulatorProcess::start(std::chrono::milliseconds limit) { return pid_ < 0 && spawn() && read_ready_line(limit); }

bool SimulatorProcess::restart() {
  kill_hard();
  return start();
}

bool SimulatorProcess::spawn() {
  Pipe input = make_pipe();
  Pipe output = make_pipe();
  std::vector<std::string> arguments = arguments_;
  arguments.emplace_back("--exit-with-stdin");
  pid_ = spawn_simulator(arguments, input.read_end, output.write_end);
  close_fd(input.read_end);
  close_fd(output.write_end);
  stdin_fd_ = input.write_end;
  stdout_fd_ = output.read_end;
  if (pid_ < 0) {
    close_pipes();
  }
  return pid_ >= 0;
}

bool SimulatorProcess::read_ready_line(std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  ready_line_.clear();
  while (ready_line_.find('\n') == std::string::npos) {
    const std::string text = read_some(stdout_fd_, deadline);
    if (text.empty()) {
      return false;
    }
    ready_line_ += text;
  }
  return ready_line_.rfind("norvik_simulator ready:", 0) == 0;
}

void SimulatorProcess::close_pipes() {
  close_fd(stdin_fd_);
  close_fd(stdout_fd_);
}

void SimulatorProcess::kill_hard() {
  if (pid_ >= 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
    pid_ = -1;
  }
  close_pipes();
}

std::optional<int> SimulatorProcess::terminate(std::chrono::milliseconds limit) {
  if (pid_ < 0) {
    return std::nullopt;
  }
  ::kill(pid_, SIGTERM);
  const auto status = wait_for_exit(limit);
  kill_hard();
  return status;
}

void SimulatorProcess::abandon() { close_fd(stdin_fd_); }

std::optional<int> SimulatorProcess::wait_for_exit(std::chrono::milliseconds limit) {
  const auto deadline = Clock::now() + limit;
  while (pid_ >= 0) {
    int status = 0;
    if (::waitpid(pid_, &status, WNOHANG) == pid_) {
      pid_ = -1;
      close_pipes();
      return exit_status_of(status);
    }
    if (Clock::now() >= deadline) {
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return std::nullopt;
}

ProgramResult run_simulator(const std::vector<std::string>& arguments) {
  Pipe input = make_pipe();
  Pipe output = make_pipe();
  ProgramResult result;
  const pid_t pid = spawn_simulator(arguments, input.read_end, output.write_end);
  close_fd(input.read_end);
  close_fd(input.write_end);
  close_fd(output.write_end);
  if (pid >= 0) {
    const auto deadline = Clock::now() + std::chrono::seconds(30);
    for (std::string text; !(text = read_some(output.read_end, deadline)).empty();) {
      result.output += text;
    }
    if (Clock::now() >= deadline) {
      ::kill(pid, SIGKILL);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.exit_status = exit_status_of(status);
  }
  close_fd(output.read_end);
  return result;
}

SimulatorControl::SimulatorControl() {
  ovimux::OvimuxInit();
  node_ = ovimux::CreateNode("simulator_control", "");
  client_ = node_->CreateClient("norvik_simulator/control", {}, false);
}

SimulatorControl::~SimulatorControl() = default;

nlohmann::json SimulatorControl::send(const nlohmann::json& command, std::chrono::seconds limit) {
  return send_text(command.dump(), limit);
}

// A simulator that was killed stays matched for some seconds, and a request sent to it is never answered.
nlohmann::json SimulatorControl::send_text(const std::string& text, std::chrono::seconds limit) {
  constexpr std::chrono::seconds kAttempt{2};
  const auto deadline = Clock::now() + limit;
  do {
    if (client_->GetMatchedServerCount() == 0) {
      client_->WaitForServerConnected(kAttempt);
    }
    if (const auto answer = client_->SendRequest(std::make_shared<const std::string>(text), kAttempt)) {
      return nlohmann::json::parse(*answer, nullptr, false);
    }
  } while (Clock::now() < deadline);
  return {{"ok", false}, {"error", "no answer from the simulator"}};
}

}  // namespace norvik::test
