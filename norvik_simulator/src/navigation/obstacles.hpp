#pragma once

#include <map>
#include <string>
#include <vector>

#include "navigation/map/occupancy_grid.hpp"
#include "navigation/map/shapes.hpp"
#include "world/surroundings.hpp"

namespace norvik::simulator {

// What is in the robot's way, on the map: what stands there, what moves, and what somebody declared. Not thread-safe.
class Obstacles {
 public:
  // What of the scene reaches into the heights that the robot takes up.
  static Obstacles of_scene(const std::vector<SceneBox>& scene);
  // The covered cells of a map in place of what stands in the scene.
  static Obstacles of_map(const OccupancyGrid& map, const std::vector<SceneBox>& scene);

  // One of a name replaces the other.
  void declare(const std::string& name, const Shape& shape) { declared_[name] = shape; }
  void withdraw(const std::string& name) { declared_.erase(name); }

  // What a way has to lead around: all of it, and where something moves all of its track.
  std::vector<Shape> lasting() const;
  // What is there `time` seconds after start-up: all of it, or only what one can bump into.
  std::vector<Shape> present(double time) const;
  std::vector<Shape> solid(double time) const;

  const std::vector<Shape>& standing() const { return standing_; }
  // What stands, and nothing else, in cells.
  const OccupancyGrid& map() const { return map_; }

 private:
  Obstacles(std::vector<Shape> standing, OccupancyGrid map, const std::vector<SceneBox>& scene);

  std::vector<Shape> standing_;
  OccupancyGrid map_;
  std::vector<SceneBox> moving_;
  std::map<std::string, Shape> declared_;
};

// Whether a box between these heights is in the robot's way.
bool is_in_the_way(double lowest, double highest);

}  // namespace norvik::simulator
