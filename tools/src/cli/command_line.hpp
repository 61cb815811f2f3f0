#pragma once

#include <optional>

#include "cli/options.hpp"

namespace norvik::tools {

// Without a command the program ends with the status; what is to be said has been printed then.
struct ParsedCommandLine {
  std::optional<Command> command;
  int exit_status = kSuccess;
};

ParsedCommandLine parse_command_line(int argc, const char* const* argv);

}  // namespace norvik::tools
