#include "navigation/map/shapes.hpp"

#include <algorithm>
#include <cmath>
#include <boost/geometry.hpp>
#include <boost/geometry/geometries/multi_point.hpp>
#include <boost/geometry/geometries/register/point.hpp>
#include <boost/geometry/geometries/register/ring.hpp>
#include <boost/geometry/geometries/ring.hpp>

BOOST_GEOMETRY_REGISTER_POINT_2D(norvik::simulator::Point, double, cs::cartesian, x, y)

namespace norvik::simulator {

namespace {

namespace bg = boost::geometry;
using Ring = bg::model::ring<Point, false, false>;  // Counter-clockwise, the first corner not repeated.

Ring to_ring(const Shape& shape) { return Ring(shape.corners.begin(), shape.corners.end()); }

double between(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y); }

Point moved(const Point& point, const PlanarPose& pose) {
  const PlanarPose result = compose(pose, {point.x, point.y, 0.0});
  return {result.x, result.y};
}

Shape surrounded(std::vector<Point> corners) {
  Shape shape{std::move(corners), {}, 0.0};
  for (const Point& corner : shape.corners) {
    shape.centre.x += corner.x / static_cast<double>(shape.corners.size());
    shape.centre.y += corner.y / static_cast<double>(shape.corners.size());
  }
  for (const Point& corner : shape.corners) {
    shape.radius = std::max(shape.radius, between(corner, shape.centre));
  }
  return shape;
}

}  // namespace

Shape make_shape(const std::vector<Point>& points) {
  Ring hull;
  bg::convex_hull(bg::model::multi_point<Point>(points.begin(), points.end()), hull);
  return surrounded({hull.begin(), hull.end()});
}

Shape rectangle(const PlanarPose& centre, double length, double width) {
  const double x = length / 2.0;
  const double y = width / 2.0;
  return placed(surrounded({{-x, -y}, {x, -y}, {x, y}, {-x, y}}), centre);
}

Shape footprint(const KDL::Frame& pose, const KDL::Vector& size) {
  std::vector<Point> points;
  for (int i = 0; i < 8; ++i) {
    const auto side = [&](int axis) { return ((i >> axis & 1) != 0 ? 0.5 : -0.5) * size(axis); };
    const KDL::Vector corner = pose * KDL::Vector(side(0), side(1), side(2));
    points.push_back({corner.x(), corner.y()});
  }
  return make_shape(points);
}

Shape placed(const Shape& shape, const PlanarPose& pose) {
  Shape result{{}, moved(shape.centre, pose), shape.radius};
  for (const Point& corner : shape.corners) {
    result.corners.push_back(moved(corner, pose));
  }
  return result;
}

double distance(const Shape& a, const Shape& b) { return bg::distance(to_ring(a), to_ring(b)); }

double Outline::reach(size_t count) const {
  double reach = 0.0;
  for (size_t i = 0; i < std::min(count, parts.size()); ++i) {
    for (const Point& corner : parts[i].corners) {
      reach = std::max(reach, std::hypot(corner.x, corner.y));
    }
  }
  return reach;
}

double clearance(const Outline& outline, const PlanarPose& pose, const std::vector<Shape>& shapes, double enough) {
  double nearest = enough;
  for (const Shape& part : outline.parts) {
    const Shape here = placed(part, pose);
    for (const Shape& shape : shapes) {
      if (between(here.centre, shape.centre) - here.radius - shape.radius < nearest) {
        nearest = std::min(nearest, distance(here, shape));
      }
    }
  }
  return nearest;
}

}  // namespace norvik::simulator
