#pragma once

#include <sys/types.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <nlohmann/json.hpp>

#include "support/child_process.hpp"

namespace norvik::ovimux {
class Node;
template <typename Req, typename Resp>
class SerializationClient;
}  // namespace norvik::ovimux

namespace norvik::test {

// The simulator as a child process on the domain of this process. It ends with this object, and with this process
// however that ends. Used by one thread.
class SimulatorProcess {
 public:
  // Starts nothing yet. `arguments` as on the command line, without the program's name.
  explicit SimulatorProcess(const std::vector<std::string>& arguments = {"--model", "k2"});
  ~SimulatorProcess();
  SimulatorProcess(const SimulatorProcess&) = delete;
  SimulatorProcess& operator=(const SimulatorProcess&) = delete;

  // True when the simulator says that it is ready within `limit`. Throws std::system_error when there is no program.
  bool start(std::chrono::milliseconds limit = std::chrono::seconds(20));
  // Kills it if it runs, and starts it again.
  bool restart();

  // At once, as kill -9 does; returns when it is gone.
  void kill_hard();
  // Asks it to end; the exit status, or empty when it did not end by itself within `limit` (it is killed then).
  std::optional<int> terminate(std::chrono::milliseconds limit = std::chrono::seconds(10));
  // Lets go of it, as a parent does that dies; it ends by itself then.
  void abandon();
  // Waits for it to end by itself: the exit status, 128 + signal for a signal, empty when it still runs.
  std::optional<int> wait_for_exit(std::chrono::milliseconds limit);

  // -1 when it has been seen to end, and before its start.
  pid_t pid() const { return process_ ? process_->pid() : -1; }
  const std::string& ready_line() const { return ready_line_; }

 private:
  std::vector<std::string> command_;
  std::optional<ChildProcess> process_;
  std::string ready_line_;
};

struct ProgramResult {
  int exit_status = -1;  // 128 + signal for a signal, -1 when it did not end within 40 s
  std::string output;
};
// Runs the simulator to its end and returns what it wrote on the standard output.
ProgramResult run_simulator(const std::vector<std::string>& arguments);

// Plans faults in the running simulator, and asks for its state; see docs/simulator.md.
class SimulatorControl {
 public:
  SimulatorControl();
  ~SimulatorControl();

  // The answer, or an object with "ok" false when none came within `limit`.
  nlohmann::json send(const nlohmann::json& command, std::chrono::seconds limit = std::chrono::seconds(10));
  nlohmann::json send_text(const std::string& text, std::chrono::seconds limit = std::chrono::seconds(10));
  nlohmann::json state() { return send({{"op", "state"}}); }

 private:
  std::unique_ptr<ovimux::Node> node_;
  std::shared_ptr<ovimux::SerializationClient<std::string, std::string>> client_;
};

}  // namespace norvik::test
