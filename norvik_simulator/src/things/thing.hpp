#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>
#include <kdl/frames.hpp>

namespace norvik::simulator {

// A box that can be taken in the hand. It has no mass and pushes nothing.
struct Thing {
  std::string name;
  KDL::Vector size;               // metres, along its own axes
  std::array<uint8_t, 3> colour;  // blue, green, red
  KDL::Frame pose;                // Of its middle, on the map.
  std::string held_by;            // A gripper or a suction cup; empty when none does.
};

// The things as they stand when the robot starts: three on the table before it, three on the one in the east room. A
// seed other than 0 moves and turns each of them a little, always in the same way.
std::vector<Thing> make_things(uint64_t seed);

}  // namespace norvik::simulator
