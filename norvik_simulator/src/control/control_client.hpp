#pragma once

#include <string>

namespace norvik::simulator {

// Sends a control command to the running simulator and prints the answer. Returns the exit status: 0 when the
// simulator says "ok", 1 when it does not, or when none answers within some seconds.
int run_control_client(const std::string& command);

}  // namespace norvik::simulator
