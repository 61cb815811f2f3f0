#pragma once

#include <vector>
#include <opencv2/core.hpp>

#include "navigation/map/shapes.hpp"

namespace norvik::simulator {

// The floor in square cells: which of them are covered. The first row is that of the smallest y, as on the map.
class OccupancyGrid {
 public:
  // `lower` is the outer corner of the first cell.
  OccupancyGrid(const Point& lower, double resolution, int columns, int rows);
  // As large as the `shapes` reach, all of them marked; cells of `resolution`, or larger ones when there would be more
  // than a million.
  static OccupancyGrid around(const std::vector<Shape>& shapes, double resolution);

  // Covers the cells that the shape touches.
  void mark(const Shape& shape);
  void mark(const cv::Point& cell) { cells_.at<uint8_t>(cell) = 255; }

  double resolution() const { return resolution_; }
  const Point& lower() const { return lower_; }
  int columns() const { return cells_.cols; }
  int rows() const { return cells_.rows; }
  bool contains(const cv::Point& cell) const {
    return cell.x >= 0 && cell.y >= 0 && cell.x < columns() && cell.y < rows();
  }
  bool is_covered(const cv::Point& cell) const { return cells_.at<uint8_t>(cell) != 0; }

  cv::Point cell_at(const Point& point) const;
  Point centre_of(const cv::Point& cell) const;

  // 8 bit, 255 for a covered cell.
  const cv::Mat& cells() const { return cells_; }
  // Metres from the centre of each cell to the nearest covered one, or to the edge of the grid; 32 bit float.
  cv::Mat distances() const;
  // The covered cells as rectangles.
  std::vector<Shape> shapes() const;

 private:
  Point lower_;
  double resolution_;
  cv::Mat cells_;
};

}  // namespace norvik::simulator
