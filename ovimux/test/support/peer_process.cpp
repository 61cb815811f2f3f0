#include "support/peer_process.hpp"

namespace norvik::ovimux::test {
namespace {

std::vector<std::string> command_of(const std::string& program, const std::vector<std::string>& arguments) {
  std::vector<std::string> command = {program};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

}  // namespace

PeerProcess::PeerProcess(const std::string& program, const std::vector<std::string>& arguments)
    : ChildProcess(command_of(program, arguments)) {}

std::string PeerProcess::ask(const std::string& line, std::chrono::milliseconds limit) {
  return write_line(line) ? read_line(limit).value_or("") : "";
}

}  // namespace norvik::ovimux::test
