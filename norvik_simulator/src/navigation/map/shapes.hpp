#pragma once

#include <vector>
#include <kdl/frames.hpp>

#include "world/planar.hpp"

namespace norvik::simulator {

// On the floor, metres.
struct Point {
  double x = 0.0;
  double y = 0.0;
};

// A convex area of the floor: its corners, counter-clockwise, and a circle around them.
struct Shape {
  std::vector<Point> corners;
  Point centre;
  double radius = 0.0;
};

// The convex hull of `points`.
Shape make_shape(const std::vector<Point>& points);
Shape rectangle(const PlanarPose& centre, double length, double width);
// What a box covers of the floor, however it is turned. `pose` is that of its centre.
Shape footprint(const KDL::Frame& pose, const KDL::Vector& size);
// The shape, given in the frame that `pose` is the pose of, as seen from outside.
Shape placed(const Shape& shape, const PlanarPose& pose);

// 0 when they touch or overlap.
double distance(const Shape& a, const Shape& b);

// What the robot covers of the floor, in the frame of its base. Its first part is the base itself.
struct Outline {
  std::vector<Shape> parts;

  // Of the circle around the origin that holds the first `count` parts: the robot can turn on the spot within it.
  double reach(size_t count) const;
  double reach() const { return reach(parts.size()); }
};

// Between the outline at `pose` and the nearest of `shapes`; no more than `enough`, which saves looking at the far
// ones.
double clearance(const Outline& outline, const PlanarPose& pose, const std::vector<Shape>& shapes, double enough);

}  // namespace norvik::simulator
