#pragma once

#include <vector>
#include <opencv2/core.hpp>

#include "navigation/map/occupancy_grid.hpp"

namespace norvik::simulator {

inline const cv::Scalar kMovingColour(60, 140, 240);  // blue, green, red
inline const cv::Scalar kDeclaredColour(60, 60, 200);

// A picture of the floor from above: x to the right, y upwards.
class MapPicture {
 public:
  explicit MapPicture(const OccupancyGrid& map);

  void add_shapes(const std::vector<Shape>& shapes, const cv::Scalar& colour);
  // Where it began and where it led.
  void add_path(const std::vector<Point>& path);
  void add_robot(const Outline& outline, const PlanarPose& pose);

  cv::Mat take() { return std::move(picture_); }

 private:
  cv::Point pixel_at(const Point& point) const;
  std::vector<cv::Point> pixels_of(const Shape& shape) const;

  Point lower_;
  double scale_;  // Pixels a metre.
  cv::Mat picture_;
};

}  // namespace norvik::simulator
