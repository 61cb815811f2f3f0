#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "ovimux/node.hpp"

namespace norvik::simulator {

// The first of `services` that another process serves already, whether or not it announces itself; empty when none
// shows up within `limit`. All of them carry large payloads. Leaves nothing open.
std::optional<std::string> find_occupied(ovimux::Node& node, const std::vector<std::string>& services,
                                         std::chrono::milliseconds limit);

}  // namespace norvik::simulator
