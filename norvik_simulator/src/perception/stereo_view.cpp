#include "perception/stereo_view.hpp"

#include <algorithm>

namespace norvik::simulator {

namespace {

constexpr float kFarthest = 8.0F;  // m; beyond it the pictures of the pair hardly differ

constexpr size_t kMostNumbers = 255;

uint8_t number_of(const Scene& scene, const Scene::Hit& hit) {
  const auto thing = scene.thing(hit.body);
  return thing && *thing < kMostNumbers ? static_cast<uint8_t>(*thing + 1) : uint8_t{0};
}

cv::Point3f ray_of(const Pinhole& camera, int x, int y) {
  return {static_cast<float>((x - camera.centre_x()) / camera.focal),
          static_cast<float>((y - camera.centre_y()) / camera.focal), 1.0F};
}

Scene::Direction turned(const KDL::Rotation& rotation, const cv::Point3f& ray) {
  const KDL::Vector v = rotation * KDL::Vector(ray.x, ray.y, ray.z);
  return {static_cast<float>(v.x()), static_cast<float>(v.y()), static_cast<float>(v.z())};
}

void fill_block(cv::Mat& mask, int x, int y, int step, uint8_t number) {
  const cv::Rect block(x, y, std::min(step, mask.cols - x), std::min(step, mask.rows - y));
  mask(block).setTo(number);
}

}  // namespace

StereoView look(Scene& scene, const Pinhole& pinhole, const KDL::Frame& camera, int step, double noise,
                std::mt19937& random) {
  std::normal_distribution<float> error(0.0F, static_cast<float>(noise));
  StereoView view{{}, {}, cv::Mat::zeros(pinhole.height, pinhole.width, CV_8UC1)};
  std::vector<Scene::Direction> directions;
  std::vector<Scene::Hit> hits;
  for (int y = 0; y < pinhole.height; y += step) {
    directions.clear();
    for (int x = 0; x < pinhole.width; x += step) {
      directions.push_back(turned(camera.M, ray_of(pinhole, x, y)));
    }
    scene.cast(camera.p, directions, hits);
    for (int x = 0; x < pinhole.width; x += step) {
      const Scene::Hit& hit = hits[static_cast<size_t>(x / step)];
      if (hit.distance > kFarthest) {
        continue;
      }
      const uint8_t number = number_of(scene, hit);
      view.points.push_back(ray_of(pinhole, x, y) * (hit.distance + error(random) * hit.distance * hit.distance));
      view.numbers.push_back(number);
      if (number != 0) {
        fill_block(view.mask, x, y, step, number);
      }
    }
  }
  return view;
}

}  // namespace norvik::simulator
