#pragma once

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <optional>
#include <string>

#include "live/live_robot.hpp"

namespace norvik::test {

constexpr const char* kRoleVariable = "NORVIK_TEST_ROLE";

// In the other process: its role; empty in the one that runs the tests.
inline std::string role_of_this_process() {
  const char* role = std::getenv(kRoleVariable);
  return role ? role : "";
}

// This test's executable once more, with a role to play instead of its tests. It is killed at the end of the scope.
class SelfProcess {
 public:
  explicit SelfProcess(const std::string& role) {
    char program[] = "/proc/self/exe";
    char* argv[] = {program, nullptr};
    ::setenv(kRoleVariable, role.c_str(), 1);
    pid_ = ::posix_spawn(&pid_, program, nullptr, nullptr, argv, environ) == 0 ? pid_ : -1;
    ::unsetenv(kRoleVariable);
  }
  ~SelfProcess() {
    if (pid_ >= 0) {
      ::kill(pid_, SIGKILL);
      ::waitpid(pid_, nullptr, 0);
    }
  }
  SelfProcess(const SelfProcess&) = delete;
  SelfProcess& operator=(const SelfProcess&) = delete;

  void send_signal(int signal) const { ::kill(pid_, signal); }

  // The exit status, 128 + signal for a signal, empty when it still runs after `limit`.
  std::optional<int> wait_for_exit(std::chrono::seconds limit) {
    int status = 0;
    if (pid_ < 0 || !eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }, limit)) {
      return std::nullopt;
    }
    pid_ = -1;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }

 private:
  pid_t pid_ = -1;
};

}  // namespace norvik::test
