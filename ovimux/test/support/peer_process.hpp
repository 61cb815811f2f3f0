#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "support/child_process.hpp"

namespace norvik::ovimux::test {

// A child process that answers each line on its standard input with one line.
class PeerProcess : public norvik::test::ChildProcess {
 public:
  explicit PeerProcess(const std::string& program, const std::vector<std::string>& arguments = {});

  // Sends a line and returns the answer, empty when none comes in time or the peer is dead.
  std::string ask(const std::string& line, std::chrono::milliseconds limit = std::chrono::seconds(20));
};

}  // namespace norvik::ovimux::test
