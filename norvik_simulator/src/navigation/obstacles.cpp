#include "navigation/obstacles.hpp"

namespace norvik::simulator {

namespace {

constexpr double kResolution = 0.05;  // m
// Above the floor, up to the head: under a table there is room for the base, but not for what it carries.
constexpr double kLowest = 0.03;
constexpr double kHighest = 1.8;

bool is_in_the_way(const SceneBox& box) {
  return simulator::is_in_the_way(box.centre.z() - box.size.z() / 2.0, box.centre.z() + box.size.z() / 2.0);
}

Shape shape_at(const SceneBox& box, const KDL::Vector& centre) {
  return rectangle({centre.x(), centre.y(), 0.0}, box.size.x(), box.size.y());
}

// From one end of its way to the other.
Shape track_of(const SceneBox& box) {
  std::vector<Point> corners = shape_at(box, box.centre + box.slide).corners;
  const std::vector<Point> other_end = shape_at(box, box.centre - box.slide).corners;
  corners.insert(corners.end(), other_end.begin(), other_end.end());
  return make_shape(corners);
}

std::vector<Shape> standing_shapes(const std::vector<SceneBox>& scene) {
  std::vector<Shape> shapes;
  for (const SceneBox& box : scene) {
    if (is_in_the_way(box) && !box.slides()) {
      shapes.push_back(shape_at(box, box.centre));
    }
  }
  return shapes;
}

}  // namespace

bool is_in_the_way(double lowest, double highest) { return highest > kLowest && lowest < kHighest; }

Obstacles Obstacles::of_scene(const std::vector<SceneBox>& scene) {
  std::vector<Shape> shapes = standing_shapes(scene);
  OccupancyGrid map = OccupancyGrid::around(shapes, kResolution);
  return {std::move(shapes), std::move(map), scene};
}

Obstacles Obstacles::of_map(const OccupancyGrid& map, const std::vector<SceneBox>& scene) {
  return {map.shapes(), map, scene};
}

Obstacles::Obstacles(std::vector<Shape> standing, OccupancyGrid map, const std::vector<SceneBox>& scene)
    : standing_(std::move(standing)), map_(std::move(map)) {
  for (const SceneBox& box : scene) {
    if (is_in_the_way(box) && box.slides()) {
      moving_.push_back(box);
    }
  }
}

std::vector<Shape> Obstacles::lasting() const {
  std::vector<Shape> shapes = standing_;
  for (const SceneBox& box : moving_) {
    shapes.push_back(track_of(box));
  }
  for (const auto& [name, shape] : declared_) {
    shapes.push_back(shape);
  }
  return shapes;
}

std::vector<Shape> Obstacles::solid(double time) const {
  std::vector<Shape> shapes = standing_;
  for (const SceneBox& box : moving_) {
    shapes.push_back(shape_at(box, centre_at(box, time)));
  }
  return shapes;
}

std::vector<Shape> Obstacles::present(double time) const {
  std::vector<Shape> shapes = solid(time);
  for (const auto& [name, shape] : declared_) {
    shapes.push_back(shape);
  }
  return shapes;
}

}  // namespace norvik::simulator
