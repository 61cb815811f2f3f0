#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <kdl/frames.hpp>

namespace norvik::simulator {

enum class BodyShape { kBox, kCylinder, kSphere };

// A piece of the robot's body, as its URDF draws it.
struct BodyPart {
  std::string link;
  KDL::Frame pose;  // Of its middle, in the link.
  BodyShape shape;
  KDL::Vector size;               // metres: sides of a box; radius, radius and length along z of a cylinder; radius.
  std::array<uint8_t, 3> colour;  // blue, green, red
};

}  // namespace norvik::simulator
