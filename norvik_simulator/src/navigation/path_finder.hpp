#pragma once

#include <optional>

#include "navigation/map/occupancy_grid.hpp"
#include "navigation/route.hpp"

namespace norvik::simulator {

// Finds ways around obstacles. On the way the robot keeps so far from them that it could turn on the spot; only at both
// ends, where it drives straight without turning, it comes as near as its outline allows. A way for which an outline
// with something attached to it is too wide on turns is still taken when it fits as it drives there.
class PathFinder {
 public:
  // `grid` covers what the search is to go around, `obstacles` are the same, exactly.
  PathFinder(OccupancyGrid grid, std::vector<Shape> obstacles, Outline outline);

  Search find(const PlanarPose& start, const PlanarPose& goal, Facing facing) const;

  // Whether the robot would stand in an obstacle.
  bool touches(const PlanarPose& pose) const;
  // Whether the outline stays clear all along the way.
  bool is_clear(const PlanarPose& start, const Route& route) const;

 private:
  // How near the centre may come.
  struct Room {
    cv::Mat distances;
    cv::Mat areas;  // Numbers of connected areas, 0 where it is too narrow.
    double least;   // m
  };
  Room make_room(double reach) const;
  std::optional<Route> find_within(const Room& room, const PlanarPose& start, const PlanarPose& goal,
                                   Facing facing) const;
  // A cell with room to turn from where the robot gets straight to `pose`, or back; `area` 0 stands for any.
  std::optional<cv::Point> find_berth(const Room& room, const PlanarPose& pose, int area) const;
  bool is_straight_clear(const PlanarPose& from, const Point& to) const;

  OccupancyGrid grid_;
  std::vector<Shape> obstacles_;
  Outline outline_;
};

}  // namespace norvik::simulator
