#include "live/self_process.hpp"

#include <signal.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "live/live_robot.hpp"

extern char** environ;

namespace norvik::test {

namespace {
constexpr const char* kRoleVariable = "NORVIK_TEST_ROLE";
}  // namespace

SelfProcess::SelfProcess(const std::string& role) {
  std::string program = "/proc/self/exe";
  char* argv[] = {program.data(), nullptr};
  ::setenv(kRoleVariable, role.c_str(), 1);
  if (::posix_spawn(&pid_, program.c_str(), nullptr, nullptr, argv, environ) != 0) {
    pid_ = -1;
  }
  ::unsetenv(kRoleVariable);
}

SelfProcess::~SelfProcess() {
  if (pid_ >= 0) {
    ::kill(pid_, SIGKILL);
    ::waitpid(pid_, nullptr, 0);
  }
}

std::optional<int> SelfProcess::wait_for_exit(std::chrono::seconds limit) {
  int status = 0;
  if (pid_ < 0 || !eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }, limit)) {
    return std::nullopt;
  }
  pid_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

std::string role_of_this_process() {
  const char* role = std::getenv(kRoleVariable);
  return role ? role : "";
}

}  // namespace norvik::test
