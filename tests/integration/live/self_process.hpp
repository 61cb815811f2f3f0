#pragma once

#include <cstdlib>
#include <string>

#include "support/child_process.hpp"

namespace norvik::test {

constexpr const char* kRoleVariable = "NORVIK_TEST_ROLE";

// In the other process: its role; empty in the one that runs the tests.
inline std::string role_of_this_process() {
  const char* role = std::getenv(kRoleVariable);
  return role ? role : "";
}

// This test's executable once more, with a role to play instead of its tests.
class SelfProcess : public ChildProcess {
 public:
  explicit SelfProcess(const std::string& role)
      : ChildProcess({"/proc/self/exe"}, Streams::inherited, {{kRoleVariable, role}}) {}
};

}  // namespace norvik::test
