#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>

namespace norvik::test {

// This test's executable once more, with a role to play instead of its tests. It is killed at the end of the scope.
class SelfProcess {
 public:
  explicit SelfProcess(const std::string& role);
  ~SelfProcess();
  SelfProcess(const SelfProcess&) = delete;
  SelfProcess& operator=(const SelfProcess&) = delete;

  // The exit status, 128 + signal for a signal, empty when it still runs after `limit`.
  std::optional<int> wait_for_exit(std::chrono::seconds limit);

 private:
  pid_t pid_ = -1;
};

// In the other process: its role; empty in the one that runs the tests.
std::string role_of_this_process();

}  // namespace norvik::test
