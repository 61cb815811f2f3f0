#include "navigation/map/occupancy_grid.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace norvik::simulator {

namespace {

constexpr double kMostCells = 1e6;

struct Bounds {
  Point lower{std::numeric_limits<double>::max(), std::numeric_limits<double>::max()};
  Point upper{std::numeric_limits<double>::lowest(), std::numeric_limits<double>::lowest()};
};

void widen(Bounds& bounds, const Shape& shape) {
  for (const Point& corner : shape.corners) {
    bounds.lower = {std::min(bounds.lower.x, corner.x), std::min(bounds.lower.y, corner.y)};
    bounds.upper = {std::max(bounds.upper.x, corner.x), std::max(bounds.upper.y, corner.y)};
  }
}

Bounds bounds_of(const std::vector<Shape>& shapes) {
  Bounds bounds;
  for (const Shape& shape : shapes) {
    widen(bounds, shape);
  }
  return shapes.empty() ? Bounds{{0.0, 0.0}, {0.0, 0.0}} : bounds;
}

}  // namespace

OccupancyGrid::OccupancyGrid(const Point& lower, double resolution, int columns, int rows)
    : lower_(lower), resolution_(resolution), cells_(cv::Mat::zeros(rows, columns, CV_8U)) {}

OccupancyGrid OccupancyGrid::around(const std::vector<Shape>& shapes, double resolution) {
  const Bounds bounds = bounds_of(shapes);
  const double width = bounds.upper.x - bounds.lower.x;
  const double height = bounds.upper.y - bounds.lower.y;
  const double size = std::max(resolution, std::sqrt(width * height / kMostCells));
  OccupancyGrid grid(bounds.lower, size, std::max(1, static_cast<int>(std::ceil(width / size))),
                     std::max(1, static_cast<int>(std::ceil(height / size))));
  for (const Shape& shape : shapes) {
    grid.mark(shape);
  }
  return grid;
}

void OccupancyGrid::mark(const Shape& shape) {
  Bounds bounds;
  widen(bounds, shape);
  const cv::Point first = cell_at(bounds.lower);
  const cv::Point last = cell_at(bounds.upper);
  const double inner = resolution_ - 1e-6;  // A shape that ends where a cell begins does not touch it.
  for (int y = std::max(0, first.y); y <= std::min(rows() - 1, last.y); ++y) {
    for (int x = std::max(0, first.x); x <= std::min(columns() - 1, last.x); ++x) {
      const Point centre = centre_of({x, y});
      if (distance(rectangle({centre.x, centre.y, 0.0}, inner, inner), shape) <= 0.0) {
        mark(cv::Point(x, y));
      }
    }
  }
}

cv::Point OccupancyGrid::cell_at(const Point& point) const {
  static constexpr double kFar = 1e8;
  const auto index = [this](double offset) {
    return static_cast<int>(std::floor(std::clamp(offset / resolution_, -kFar, kFar)));
  };
  return {index(point.x - lower_.x), index(point.y - lower_.y)};
}

Point OccupancyGrid::centre_of(const cv::Point& cell) const {
  return {lower_.x + (cell.x + 0.5) * resolution_, lower_.y + (cell.y + 0.5) * resolution_};
}

cv::Mat OccupancyGrid::distances() const {
  cv::Mat bordered;
  cv::copyMakeBorder(cells_, bordered, 1, 1, 1, 1, cv::BORDER_CONSTANT, 255);
  cv::Mat distances;
  cv::distanceTransform(~bordered, distances, cv::DIST_L2, cv::DIST_MASK_PRECISE);
  return distances({1, 1, columns(), rows()}) * resolution_;
}

// Runs of each row, joined with those of the rows before that are as wide.
std::vector<Shape> OccupancyGrid::shapes() const {
  std::vector<cv::Rect> done;
  std::vector<cv::Rect> open;
  for (int y = 0; y <= rows(); ++y) {
    std::vector<cv::Rect> next;
    for (int x = 0; y < rows() && x < columns(); ++x) {
      const int begin = x;
      while (x < columns() && is_covered({x, y})) {
        ++x;
      }
      if (x == begin) {
        continue;
      }
      const auto above = std::find_if(open.begin(), open.end(), [&](const cv::Rect& rect) {
        return rect.x == begin && rect.width == x - begin && rect.y + rect.height == y;
      });
      next.push_back(above == open.end() ? cv::Rect(begin, y, x - begin, 1)
                                         : cv::Rect(above->x, above->y, above->width, above->height + 1));
      if (above != open.end()) {
        open.erase(above);
      }
    }
    done.insert(done.end(), open.begin(), open.end());
    open = std::move(next);
  }
  std::vector<Shape> result;
  for (const cv::Rect& rect : done) {
    const PlanarPose centre = {lower_.x + (rect.x + rect.width / 2.0) * resolution_,
                               lower_.y + (rect.y + rect.height / 2.0) * resolution_, 0.0};
    result.push_back(rectangle(centre, rect.width * resolution_, rect.height * resolution_));
  }
  return result;
}

}  // namespace norvik::simulator
