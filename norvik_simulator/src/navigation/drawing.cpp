#include "navigation/drawing.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

namespace norvik::simulator {

namespace {

const cv::Scalar kFloor(250, 250, 250);
const cv::Scalar kWall(70, 65, 60);
const cv::Scalar kGridLine(232, 232, 232);
const cv::Scalar kPath(200, 110, 30);
const cv::Scalar kRobot(90, 170, 60);
const cv::Scalar kStart(150, 150, 150);
constexpr double kWidth = 1000.0;  // Pixels, about.

}  // namespace

MapPicture::MapPicture(const OccupancyGrid& map) : lower_(map.lower()) {
  const double metres = std::max(map.columns(), map.rows()) * map.resolution();
  scale_ = std::max(1.0, std::round(kWidth / metres));
  const cv::Size size(static_cast<int>(map.columns() * map.resolution() * scale_),
                      static_cast<int>(map.rows() * map.resolution() * scale_));
  picture_ = cv::Mat(cv::Size(std::max(1, size.width), std::max(1, size.height)), CV_8UC3, kFloor);
  for (double x = std::ceil(lower_.x); (x - lower_.x) * scale_ < picture_.cols; x += 1.0) {
    const int column = pixel_at({x, 0.0}).x;
    cv::line(picture_, {column, 0}, {column, picture_.rows}, kGridLine);
  }
  for (double y = std::ceil(lower_.y); (y - lower_.y) * scale_ < picture_.rows; y += 1.0) {
    const int row = pixel_at({0.0, y}).y;
    cv::line(picture_, {0, row}, {picture_.cols, row}, kGridLine);
  }
  cv::Mat covered;
  cv::flip(map.cells(), covered, 0);
  cv::resize(covered, covered, picture_.size(), 0.0, 0.0, cv::INTER_NEAREST);
  picture_.setTo(kWall, covered);
}

cv::Point MapPicture::pixel_at(const Point& point) const {
  return {cvRound((point.x - lower_.x) * scale_), picture_.rows - 1 - cvRound((point.y - lower_.y) * scale_)};
}

std::vector<cv::Point> MapPicture::pixels_of(const Shape& shape) const {
  std::vector<cv::Point> pixels;
  for (const Point& corner : shape.corners) {
    pixels.push_back(pixel_at(corner));
  }
  return pixels;
}

void MapPicture::add_shapes(const std::vector<Shape>& shapes, const cv::Scalar& colour) {
  for (const Shape& shape : shapes) {
    cv::fillConvexPoly(picture_, pixels_of(shape), colour, cv::LINE_AA);
  }
}

void MapPicture::add_path(const std::vector<Point>& path) {
  for (size_t i = 1; i < path.size(); ++i) {
    cv::line(picture_, pixel_at(path[i - 1]), pixel_at(path[i]), kPath, 3, cv::LINE_AA);
  }
  if (!path.empty()) {
    cv::circle(picture_, pixel_at(path.front()), 7, kStart, cv::FILLED, cv::LINE_AA);
  }
}

void MapPicture::add_robot(const Outline& outline, const PlanarPose& pose) {
  for (const Shape& part : outline.parts) {
    cv::polylines(picture_, pixels_of(placed(part, pose)), true, kRobot, 2, cv::LINE_AA);
  }
  const PlanarPose ahead = compose(pose, {outline.reach(1), 0.0, 0.0});
  cv::arrowedLine(picture_, pixel_at({pose.x, pose.y}), pixel_at({ahead.x, ahead.y}), kRobot, 2, cv::LINE_AA);
}

}  // namespace norvik::simulator
