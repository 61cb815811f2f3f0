#pragma once

#include <sys/types.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace norvik::ovimux::test {

// A child process that answers each line on its standard input with one line. It is killed with its object.
class PeerProcess {
 public:
  explicit PeerProcess(const std::string& program, std::vector<std::string> arguments = {});
  ~PeerProcess();
  PeerProcess(const PeerProcess&) = delete;
  PeerProcess& operator=(const PeerProcess&) = delete;

  // Sends a line and returns the answer, empty when none comes in time.
  std::string ask(const std::string& line, std::chrono::milliseconds limit = std::chrono::seconds(20));
  std::string read_line(std::chrono::milliseconds limit = std::chrono::seconds(20));

  void kill(int signal_number);
  // The wait status once the process has ended; nothing when it has not within `limit`.
  std::optional<int> wait(std::chrono::milliseconds limit);

  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
  int to_child_ = -1;
  int from_child_ = -1;
  std::string unread_;
  std::optional<int> status_;
};

}  // namespace norvik::ovimux::test
