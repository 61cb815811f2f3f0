#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace norvik::test {

// The child's standard input and output. Its standard error is always this process's.
enum class Streams { piped, inherited };

// A program that runs as a child process and ends with this object. Used by one thread.
class ChildProcess {
 public:
  using Environment = std::map<std::string, std::string>;

  // `command` is the program's path and its arguments; `changes` are made to this process's environment for it.
  // Throws std::system_error when the program cannot be started.
  explicit ChildProcess(std::vector<std::string> command, Streams streams = Streams::piped,
                        const Environment& changes = {});
  // Kills the child if it still runs, and returns when it is gone.
  ~ChildProcess();
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // False when the child no longer reads its input.
  bool write_line(const std::string& line);
  void close_input();

  // The next line without its end; nothing when the output ends first, or `limit`.
  std::optional<std::string> read_line(std::chrono::milliseconds limit = std::chrono::seconds(20));
  // What is still unread when the output has ended, or `limit`.
  std::string read_rest(std::chrono::milliseconds limit);

  // Does nothing once the end of the child has been seen.
  void kill(int signal_number);
  // The exit status, 128 + signal for a signal; nothing when the child still runs after `limit`.
  std::optional<int> wait_for_exit(std::chrono::milliseconds limit);

  pid_t pid() const { return pid_; }

 private:
  bool has_ended();
  bool read_more(std::chrono::steady_clock::time_point deadline);

  pid_t pid_ = -1;
  int input_ = -1;
  int output_ = -1;
  std::string unread_;
  std::optional<int> exit_status_;
};

}  // namespace norvik::test
