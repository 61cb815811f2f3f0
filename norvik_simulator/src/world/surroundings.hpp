#pragma once

#include <array>
#include <cstdint>
#include <vector>
#include <kdl/frames.hpp>

namespace norvik::simulator {

// A box along the axes of the map, metres.
struct SceneBox {
  KDL::Vector centre;  // Of one that slides, in the middle of its way.
  KDL::Vector size;
  std::array<uint8_t, 3> colour;           // blue, green, red
  KDL::Vector slide{KDL::Vector::Zero()};  // From the middle to the end of its way; zero for one that stands still.
  double period = 0.0;                     // s, for the way to and fro

  bool slides() const { return period > 0.0; }
};

// What stands around the robot and cannot be taken away: a room with a table, where it starts; another one with a table
// to the east, a study to the north, and a corridor between the three in which a cart goes up and down. The first is
// the floor.
const std::vector<SceneBox>& surroundings();

// Where a box is, seconds after start-up.
KDL::Vector centre_at(const SceneBox& box, double time);

}  // namespace norvik::simulator
