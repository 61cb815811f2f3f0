#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>
#include <kdl/frames.hpp>

#include "planning/basis/planning_types.hpp"

namespace norvik::simulator::planning {

// Metres; the origin is the middle.
struct Box {
  KDL::Vector size;
};
struct Sphere {
  double radius;
};
// Along z.
struct Cylinder {
  double radius;
  double height;
};
struct Mesh {
  struct Triangle {
    size_t corners[3];
  };
  std::vector<KDL::Vector> vertices;
  std::vector<Triangle> triangles;
};
// The space that points fill, as cubes.
struct PointCloud {
  std::vector<KDL::Vector> points;
  double resolution;  // Edge of a cube.
};

// Large data is shared, so that copies of a scene are cheap.
using Shape = std::variant<Box, Sphere, Cylinder, std::shared_ptr<const Mesh>, std::shared_ptr<const PointCloud>>;

struct ShapeResult {
  Outcome outcome;
  Shape shape;
};

// Sizes must be numbers above 0, meshes and clouds must not be empty.
Outcome check_shape(const Shape& shape);

// STL, OBJ or PLY, metres. Reads the file on the caller's thread.
ShapeResult read_mesh(const std::string& path);
// PCD: ascii, binary or binary_compressed. `resolution` in metres, not above 0: 0.02. Points that are no numbers are
// left out.
ShapeResult read_point_cloud(const std::string& path, double resolution);
// Points as they are, e.g. from a depth image.
ShapeResult make_point_cloud(std::vector<KDL::Vector> points, double resolution);

}  // namespace norvik::simulator::planning
