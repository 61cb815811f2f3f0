#include "perception/detection.hpp"

#include <algorithm>
#include <array>

#include "perception/box_pose.hpp"

namespace norvik::simulator {

namespace {

using perception_proto::DetectionResult;

constexpr int kMostRays = 307'200;  // A cloud of more points, and the objects' beside it, might not fit a message.
constexpr uint32_t kLeastPoints = 12;
constexpr uint32_t kLeastPixels = 150;

// The module's grid, or a coarser one for large pictures.
int step_for(const Pinhole& pinhole, int step) {
  const auto rays = [&](int s) { return ((pinhole.width + s - 1) / s) * ((pinhole.height + s - 1) / s); };
  while (rays(step) > kMostRays) {
    ++step;
  }
  return step;
}

// By the number of a thing in the view: its number in the result, counted from 1; 0 when too little of it is seen.
using Numbers = std::array<uint8_t, 256>;

Numbers renumber(const StereoView& view, int step) {
  std::array<uint32_t, 256> points{};
  for (const uint8_t number : view.numbers) {
    ++points[number];
  }
  Numbers numbers{};
  uint8_t count = 0;
  for (size_t i = 1; i < points.size(); ++i) {
    if (points[i] >= kLeastPoints && points[i] * static_cast<uint32_t>(step * step) >= kLeastPixels) {
      numbers[i] = ++count;
    }
  }
  return numbers;
}

void add_point(const cv::Point3f& point, sensor_proto::PointCloud& cloud) {
  auto& added = *cloud.add_points();
  added.set_x(point.x);
  added.set_y(point.y);
  added.set_z(point.z);
}

void add_clouds(const StereoView& view, const Numbers& numbers, DetectionResult& result) {
  result.add_point_clouds()->mutable_points()->Reserve(static_cast<int>(view.points.size()));
  for (size_t i = 1; i <= *std::max_element(numbers.begin(), numbers.end()); ++i) {
    result.add_point_clouds();
  }
  for (size_t i = 0; i < view.points.size(); ++i) {
    add_point(view.points[i], *result.mutable_point_clouds(0));
    if (const uint8_t number = numbers[view.numbers[i]]; number != 0) {
      add_point(view.points[i], *result.mutable_point_clouds(number));
    }
  }
}

void add_pose(const KDL::Frame& pose, core_proto::Matrix& matrix) {
  matrix.set_rows(4);
  matrix.set_cols(4);
  for (int row = 0; row < 4; ++row) {
    for (int column = 0; column < 4; ++column) {
      matrix.add_elements(pose(row, column));
    }
  }
}

void add_mask(const StereoView& view, const Numbers& numbers, sensor_proto::Image& image) {
  image.set_height(static_cast<uint32_t>(view.mask.rows));
  image.set_width(static_cast<uint32_t>(view.mask.cols));
  image.set_step(static_cast<uint32_t>(view.mask.cols));
  image.set_encoding("mono8");
  std::string& pixels = *image.mutable_data();
  pixels.assign(view.mask.datastart, view.mask.dataend);
  for (char& pixel : pixels) {
    pixel = static_cast<char>(numbers[static_cast<uint8_t>(pixel)]);
  }
}

}  // namespace

std::shared_ptr<DetectionResult> detect(Scene& scene, const Pinhole& pinhole, const KDL::Frame& camera,
                                        const std::vector<Thing>& things, const StereoModule& module,
                                        std::mt19937& random) {
  const int step = step_for(pinhole, module.step);
  const StereoView view = look(scene, pinhole, camera, step, module.noise, random);
  const Numbers numbers = renumber(view, step);
  auto result = std::make_shared<DetectionResult>();
  add_clouds(view, numbers, *result);
  std::normal_distribution<double> error(0.0, module.noise);
  for (size_t i = 0; i < things.size() && i + 1 < numbers.size(); ++i) {
    if (numbers[i + 1] != 0) {
      KDL::Frame pose = estimated_pose(things[i], camera);
      pose.p += KDL::Vector(error(random), error(random), error(random));
      add_pose(pose, *result->add_poses());
    }
  }
  add_mask(view, numbers, *result->mutable_image());
  return result;
}

}  // namespace norvik::simulator
