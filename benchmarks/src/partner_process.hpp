#pragma once

#include <string>
#include <vector>

#include "support/child_process.hpp"

namespace norvik::benchmarks {

// A child process that takes part in a benchmark.
class PartnerProcess : public test::ChildProcess {
 public:
  using ChildProcess::ChildProcess;

  // Reads lines until one begins with `prefix` and returns the rest of that line. Throws when there is none.
  std::string read_after(const std::string& prefix);
};

// This program in another role.
std::vector<std::string> self_command(std::vector<std::string> arguments);

// Called in a role: the system kills this process when its parent dies.
void end_with_parent();

}  // namespace norvik::benchmarks
