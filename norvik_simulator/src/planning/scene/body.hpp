#pragma once

#include <fcl/geometry/collision_geometry.h>

#include <memory>
#include <string>
#include <Eigen/Geometry>
#include <kdl/frames.hpp>

#include "planning/scene/shape.hpp"

namespace norvik::simulator::planning {

using Geometry = std::shared_ptr<const fcl::CollisionGeometryd>;

// Something that collides, with a place of its own in what carries it.
struct Body {
  std::string name;
  Geometry geometry;
  Eigen::Isometry3d pose;  // In the link or, for an obstacle, in the base link.
  Eigen::Vector3d middle;  // Of a sphere around it, in the same frame.
  double radius;
};

Eigen::Isometry3d to_eigen(const KDL::Frame& frame);

// Boxes, spheres and cylinders grow by `margin` on all sides. Meshes and clouds do not: what meets them grows instead.
Geometry make_geometry(const Shape& shape, double margin);
bool can_grow(const Shape& shape);

Body make_body(std::string name, Geometry geometry, const KDL::Frame& pose);

// `first_moved` and `second_moved`: the frames that carry the bodies.
bool collide(const Body& first, const Eigen::Isometry3d& first_moved, const Body& second,
             const Eigen::Isometry3d& second_moved);

}  // namespace norvik::simulator::planning
