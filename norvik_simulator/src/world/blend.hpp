#pragma once

#include <cstdint>

#include "world/group_follower.hpp"

namespace norvik::simulator {

// The way between two waypoints for a sampling of the wire (TargetSampling), null for one that is not simulated.
Blend find_blend(int32_t sampling);

// The target is the command at once.
Blend direct_pass();

}  // namespace norvik::simulator
