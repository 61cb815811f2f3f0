#pragma once

#include <string>
#include <nlohmann/json.hpp>

#include "environment.hpp"

namespace norvik::simulator {

inline constexpr const char* kControlService = "norvik_simulator/control";

// Carries out one command of whoever tests against the simulator: plan a fault, place a joint, ask for the state. The
// answer is an object with "ok", and with "error" when that is false. Never throws. The commands, by their "op":
//
//   {"op":"error", "group":G, "code":N, "description":S}        error of a group until cleared; code 0 clears
//   {"op":"reply", "service":S, "fault":F, "count":N, "delay_ms":N}
//                              F: reject, delay, lose, duplicate, none; count: requests it befalls, default 1, -1 for
//                              all
//   {"op":"topic", "topic":T, "fault":F, "share":X, "delay_ms":N}
//                              F: silent, drop, delay, malformed (does not parse), corrupt (garbage of the same size,
//                              NaN), wrong_size (a third is missing, values of wrong types), none; share: of the
//                              messages, 0 to 1, default 1
//   {"op":"clock", "skew_ms":N}                                 added to the time stamps of what is reported
//   {"op":"infrared", "side":S, "enabled":B}                    mode of an arm camera; S: left, right
//   {"op":"freeze", "joints":[J, ...], "frozen":B}              joints that no longer move; default true
//   {"op":"set_positions", "positions":{J:X, ...}}              at once, in wire units
//   {"op":"place_object", "group":G, "width_mm":X}              between the fingers of a gripper; 0 takes it away
//   {"op":"clear"}                                              every fault
//   {"op":"crash", "how":H}                                     H: exit (status 1, default), abort; no answer comes
//   {"op":"state"}                                              joints, base, errors, controllers, counters,
//                                                               volume, streams of the speaker
nlohmann::json run_control_command(Environment& environment, const nlohmann::json& command);

// The same for text.
std::string run_control_text(Environment& environment, const std::string& text);

}  // namespace norvik::simulator
