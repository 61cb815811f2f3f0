#include "sight/picture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace norvik::simulator {

namespace {

const KDL::Vector kLight(-0.45, 0.3, 0.84);  // Of length 1, towards the lamp.
const cv::Vec3b kNothing(60, 50, 45);
constexpr double kAmbient = 0.4;
constexpr double kInfraredRange = 1.5;  // m at which a surface seen head-on returns half of the light
constexpr double kMillimetres = 1000.0;

double cosine(const Scene::Direction& a, const KDL::Vector& b) { return a.x * b.x() + a.y * b.y() + a.z * b.z(); }

cv::Vec3b colour_pixel(const Scene& scene, const Scene::Hit& hit, const KDL::Vector& point) {
  if (!hit.exists()) {
    return kNothing;
  }
  const double light = kAmbient + (1.0 - kAmbient) * std::max(0.0, cosine(hit.normal, kLight));
  const cv::Vec3b colour = scene.colour(hit.body, point);
  return {cv::saturate_cast<uint8_t>(colour[0] * light), cv::saturate_cast<uint8_t>(colour[1] * light),
          cv::saturate_cast<uint8_t>(colour[2] * light)};
}

uint16_t depth_pixel(const Scene::Hit& hit) {
  const double millimetres = kMillimetres * hit.distance;
  return millimetres <= std::numeric_limits<uint16_t>::max() ? static_cast<uint16_t>(std::lround(millimetres)) : 0;
}

uint8_t infrared_pixel(const Scene::Hit& hit, const KDL::Vector& ray) {
  if (!hit.exists()) {
    return 0;
  }
  const double distance = hit.distance * ray.Norm() / kInfraredRange;
  const double facing = std::abs(cosine(hit.normal, ray)) / ray.Norm();
  return cv::saturate_cast<uint8_t>(255.0 * facing / (1.0 + distance * distance));
}

// Directions of one row of pixels, one metre along the optical axis.
void look_along(const Pinhole& camera, const KDL::Rotation& rotation, int row, std::vector<KDL::Vector>& rays,
                std::vector<Scene::Direction>& directions) {
  rays.clear();
  directions.clear();
  for (int x = 0; x < camera.width; ++x) {
    const KDL::Vector ray =
        rotation * KDL::Vector((x - camera.centre_x()) / camera.focal, (row - camera.centre_y()) / camera.focal, 1.0);
    rays.push_back(ray);
    directions.push_back({static_cast<float>(ray.x()), static_cast<float>(ray.y()), static_cast<float>(ray.z())});
  }
}

int type_of(PixelKind kind) {
  return kind == PixelKind::kColour ? CV_8UC3 : kind == PixelKind::kDepth ? CV_16UC1 : CV_8UC1;
}

}  // namespace

Pinhole make_pinhole(int width, int height, double horizontal_view_rad) {
  return {width, height, width / 2.0 / std::tan(horizontal_view_rad / 2.0)};
}

cv::Mat take_picture(Scene& scene, const Pinhole& camera, const KDL::Frame& pose, PixelKind kind) {
  cv::Mat picture(camera.height, camera.width, type_of(kind));
  std::vector<KDL::Vector> rays;
  std::vector<Scene::Direction> directions;
  std::vector<Scene::Hit> hits;
  for (int y = 0; y < camera.height; ++y) {
    look_along(camera, pose.M, y, rays, directions);
    scene.cast(pose.p, directions, hits);
    for (int x = 0; x < camera.width; ++x) {
      const Scene::Hit& hit = hits[static_cast<size_t>(x)];
      const KDL::Vector& ray = rays[static_cast<size_t>(x)];
      if (kind == PixelKind::kColour) {
        picture.at<cv::Vec3b>(y, x) = colour_pixel(scene, hit, pose.p + ray * (hit.exists() ? hit.distance : 0.0));
      } else if (kind == PixelKind::kDepth) {
        picture.at<uint16_t>(y, x) = depth_pixel(hit);
      } else {
        picture.at<uint8_t>(y, x) = infrared_pixel(hit, ray);
      }
    }
  }
  return picture;
}

void stamp_picture(cv::Mat& picture, int64_t timestamp_ns) {
  const int width = picture.cols / 64;
  const int height = std::max(4, picture.rows / 60);
  for (int i = 0; i < 64; ++i) {
    const bool bit = (static_cast<uint64_t>(timestamp_ns) >> (63 - i) & 1U) != 0;
    cv::rectangle(picture, {i * width, 0, width, height}, bit ? cv::Scalar::all(255) : cv::Scalar::all(0), cv::FILLED);
  }
  char text[32];
  std::snprintf(text, sizeof(text), "%.3f s", static_cast<double>(timestamp_ns) / 1e9);
  cv::putText(picture, text, {4, height + 16}, cv::FONT_HERSHEY_SIMPLEX, 0.5, cv::Scalar::all(0), 1, cv::LINE_AA);
}

}  // namespace norvik::simulator
