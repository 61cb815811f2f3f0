#include "sight/scan.hpp"

#include <cmath>

namespace norvik::simulator {

namespace {

constexpr int kRings = 16;
constexpr int kColumns = 900;
constexpr double kHalfOpening = 15.0 * M_PI / 180.0;
constexpr float kRange = 30.0F;  // m

// In the sensor's frame, each of length 1.
const std::vector<KDL::Vector>& rays() {
  static const std::vector<KDL::Vector> kRays = [] {
    std::vector<KDL::Vector> result;
    for (int ring = 0; ring < kRings; ++ring) {
      const double up = kHalfOpening * (2.0 * ring / (kRings - 1) - 1.0);
      for (int column = 0; column < kColumns; ++column) {
        const double turn = 2.0 * M_PI * column / kColumns;
        result.emplace_back(std::cos(up) * std::cos(turn), std::cos(up) * std::sin(turn), std::sin(up));
      }
    }
    return result;
  }();
  return kRays;
}

Scene::Direction to_direction(const KDL::Vector& v) {
  return {static_cast<float>(v.x()), static_cast<float>(v.y()), static_cast<float>(v.z())};
}

float intensity(const Scene::Hit& hit, const Scene::Direction& ray) {
  return 100.0F * std::abs(hit.normal.x * ray.x + hit.normal.y * ray.y + hit.normal.z * ray.z);
}

}  // namespace

std::vector<ScanPoint> scan_scene(Scene& scene, const KDL::Frame& sensor) {
  std::vector<Scene::Direction> directions;
  for (const KDL::Vector& ray : rays()) {
    directions.push_back(to_direction(sensor.M * ray));
  }
  std::vector<Scene::Hit> hits;
  scene.cast(sensor.p, directions, hits);
  std::vector<ScanPoint> points;
  for (size_t i = 0; i < hits.size(); ++i) {
    if (hits[i].distance < kRange) {
      const auto point = to_direction(rays()[i] * static_cast<double>(hits[i].distance));
      points.push_back({point.x, point.y, point.z, intensity(hits[i], directions[i])});
    }
  }
  return points;
}

}  // namespace norvik::simulator
