#pragma once

#include <string>
#include <nlohmann/json_fwd.hpp>

#include "wire/environment.hpp"

namespace norvik::simulator {

inline constexpr const char* kControlService = "norvik_simulator/control";

// Carries out one command of whoever tests against the simulator: plan a fault, place a joint, ask for the state. The
// answer is an object with "ok", and with "error" when that is false. Never throws. docs/simulator.md lists the
// commands.
nlohmann::json run_control_command(Environment& environment, const nlohmann::json& command);

// The same for text.
std::string run_control_text(Environment& environment, const std::string& text);

}  // namespace norvik::simulator
