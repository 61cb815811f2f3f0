#pragma once

#include <array>
#include <cstdint>
#include <vector>
#include <kdl/frames.hpp>

namespace norvik::simulator {

// A box along the axes of the odometry frame, metres.
struct SceneBox {
  KDL::Vector centre;
  KDL::Vector size;
  std::array<uint8_t, 3> colour;  // blue, green, red
};

// What stands around the robot: a room with a table and things on it. The first is the floor, the last slides to and
// fro.
const std::vector<SceneBox>& surroundings();

// Where the box that slides is, seconds after start-up.
KDL::Vector sliding_box_centre(double time);

}  // namespace norvik::simulator
