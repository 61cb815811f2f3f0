#pragma once

#include <array>
#include <cstdint>
#include <vector>
#include <kdl/frames.hpp>

namespace norvik::simulator {

// A closed surface around its origin, metres. Triangles show their front, corners counter-clockwise, to the outside.
struct Mesh {
  std::vector<KDL::Vector> corners;
  std::vector<std::array<uint32_t, 3>> triangles;
};

Mesh box_mesh(const KDL::Vector& size);
// Along z.
Mesh cylinder_mesh(double radius, double length);
Mesh sphere_mesh(double radius);

}  // namespace norvik::simulator
