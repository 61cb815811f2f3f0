#include "sight/mesh.hpp"

#include <cmath>

namespace norvik::simulator {

namespace {

constexpr uint32_t kSides = 24;  // Of a circle.
constexpr uint32_t kRings = 12;  // Of a sphere, between its poles.

// A body of rings of `kSides` corners each, one above the other, that ends in a point at its bottom and its top.
Mesh lathe(const std::vector<std::array<double, 2>>& radius_and_height, double bottom, double top) {
  Mesh mesh;
  mesh.corners = {{0.0, 0.0, bottom}, {0.0, 0.0, top}};
  for (const auto& [radius, height] : radius_and_height) {
    for (uint32_t i = 0; i < kSides; ++i) {
      const double turn = 2.0 * M_PI * i / kSides;
      mesh.corners.emplace_back(radius * std::cos(turn), radius * std::sin(turn), height);
    }
  }
  const auto rings = static_cast<uint32_t>(radius_and_height.size());
  const auto corner = [](uint32_t ring, uint32_t i) { return 2 + ring * kSides + i % kSides; };
  for (uint32_t i = 0; i < kSides; ++i) {
    mesh.triangles.push_back({0, corner(0, i + 1), corner(0, i)});
    mesh.triangles.push_back({1, corner(rings - 1, i), corner(rings - 1, i + 1)});
    for (uint32_t ring = 0; ring + 1 < rings; ++ring) {
      mesh.triangles.push_back({corner(ring, i), corner(ring, i + 1), corner(ring + 1, i + 1)});
      mesh.triangles.push_back({corner(ring, i), corner(ring + 1, i + 1), corner(ring + 1, i)});
    }
  }
  return mesh;
}

}  // namespace

Mesh box_mesh(const KDL::Vector& size) {
  Mesh mesh;
  // Corner i has its x, y, z on the far side where bit 0, 1, 2 of i is set.
  for (int i = 0; i < 8; ++i) {
    const auto side = [i](int axis) { return (i >> axis & 1) != 0 ? 0.5 : -0.5; };
    mesh.corners.emplace_back(side(0) * size.x(), side(1) * size.y(), side(2) * size.z());
  }
  mesh.triangles = {{0, 4, 6}, {0, 6, 2}, {1, 3, 7}, {1, 7, 5}, {0, 1, 5}, {0, 5, 4},
                    {2, 6, 7}, {2, 7, 3}, {0, 2, 3}, {0, 3, 1}, {4, 5, 7}, {4, 7, 6}};
  return mesh;
}

Mesh cylinder_mesh(double radius, double length) {
  return lathe({{radius, -length / 2.0}, {radius, length / 2.0}}, -length / 2.0, length / 2.0);
}

Mesh sphere_mesh(double radius) {
  std::vector<std::array<double, 2>> rings;
  for (uint32_t i = 1; i <= kRings; ++i) {
    const double up = M_PI * (static_cast<double>(i) / (kRings + 1) - 0.5);
    rings.push_back({radius * std::cos(up), radius * std::sin(up)});
  }
  return lathe(rings, -radius, radius);
}

}  // namespace norvik::simulator
