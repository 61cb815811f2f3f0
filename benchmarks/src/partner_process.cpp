#include "partner_process.hpp"

#include <sys/prctl.h>

#include <chrono>
#include <csignal>
#include <stdexcept>

namespace norvik::benchmarks {

std::string PartnerProcess::read_after(const std::string& prefix) {
  constexpr std::chrono::hours kLongestRun{24};
  while (const auto line = read_line(kLongestRun)) {
    if (line->compare(0, prefix.size(), prefix) == 0) {
      return line->substr(prefix.size());
    }
  }
  throw std::runtime_error("a benchmark process ended before it said \"" + prefix + "\"");
}

std::vector<std::string> self_command(std::vector<std::string> arguments) {
  arguments.insert(arguments.begin(), "/proc/self/exe");
  return arguments;
}

void end_with_parent() { prctl(PR_SET_PDEATHSIG, SIGKILL); }

}  // namespace norvik::benchmarks
