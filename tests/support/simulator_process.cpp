#include "support/simulator_process.hpp"

#include <csignal>

#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::test {
namespace {

using Clock = std::chrono::steady_clock;

std::vector<std::string> simulator_command(const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {NORVIK_SIMULATOR_PATH};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

SimulatorProcess::SimulatorProcess(const std::vector<std::string>& arguments) : command_(simulator_command(arguments)) {
  command_.emplace_back("--exit-with-stdin");
}

// Gently: Fast DDS may crash in a process that ends within a second of the death of a peer that held its shared memory.
SimulatorProcess::~SimulatorProcess() { terminate(std::chrono::seconds(5)); }

bool SimulatorProcess::start(std::chrono::milliseconds limit) {
  if (process_) {
    return false;
  }
  process_.emplace(command_);
  ready_line_ = process_->read_line(limit).value_or("");
  return ready_line_.rfind("norvik_simulator ready:", 0) == 0;
}

bool SimulatorProcess::restart() {
  kill_hard();
  return start();
}

void SimulatorProcess::kill_hard() { process_.reset(); }

std::optional<int> SimulatorProcess::terminate(std::chrono::milliseconds limit) {
  if (process_) {
    process_->kill(SIGTERM);
  }
  const auto status = wait_for_exit(limit);
  kill_hard();
  return status;
}

void SimulatorProcess::abandon() {
  if (process_) {
    process_->close_input();
  }
}

std::optional<int> SimulatorProcess::wait_for_exit(std::chrono::milliseconds limit) {
  const auto status = process_ ? process_->wait_for_exit(limit) : std::nullopt;
  if (status) {
    process_.reset();
  }
  return status;
}

ProgramResult run_simulator(const std::vector<std::string>& arguments) {
  ChildProcess program(simulator_command(arguments));
  program.close_input();
  ProgramResult result;
  result.output = program.read_rest(std::chrono::seconds(30));
  result.exit_status = program.wait_for_exit(std::chrono::seconds(10)).value_or(-1);
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
