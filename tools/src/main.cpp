#include <google/protobuf/stubs/logging.h>

#include <variant>

#include "cli/command_line.hpp"
#include "cli/interrupt.hpp"
#include "cli/output.hpp"
#include "verbs/verbs.hpp"

int main(int argc, char** argv) {
  using namespace norvik::tools;
  watch_signals();
  // What cannot be decoded is reported by the verbs, once and in their own words.
  google::protobuf::SetLogHandler(nullptr);
  const ParsedCommandLine parsed = parse_command_line(argc, argv);
  if (!parsed.command) {
    return final_status(parsed.exit_status);
  }
  const Command& command = *parsed.command;
  return final_status(std::visit([&command](const auto& verb) { return run(command.common, verb); }, command.verb));
}
