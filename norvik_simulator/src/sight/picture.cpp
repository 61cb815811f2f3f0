#include "sight/picture.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>
#include <opencv2/imgproc.hpp>

namespace norvik::simulator {

namespace {

using Direction = Scene::Direction;

constexpr Direction kLight = {-0.45F, 0.3F, 0.84F};  // Of length 1, towards the lamp.
const cv::Vec3b kNothing(60, 50, 45);
constexpr float kAmbient = 0.4F;
constexpr float kInfraredRange = 1.5F;  // m at which a surface seen head-on returns half of the light
constexpr float kGrainPixels = 2.5F;    // Least size of a grain of a surface in an infrared picture.
constexpr float kDarkestGrain = 0.45F;
constexpr float kMillimetres = 1000.0F;
constexpr int kEdge = 10;  // Of 255; neighbours that differ more than that form an edge.
// Where the rays of a smoothed pixel go through, in pixels from its middle.
constexpr float kParts[4][2] = {{-0.125F, -0.375F}, {0.375F, -0.125F}, {0.125F, 0.375F}, {-0.375F, 0.125F}};

float dot(const Direction& a, const Direction& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }

Direction to_direction(const KDL::Vector& v) {
  return {static_cast<float>(v.x()), static_cast<float>(v.y()), static_cast<float>(v.z())};
}

// Looks from the place of a camera through places of its picture.
class Eye {
 public:
  Eye(Scene& scene, const Pinhole& camera, const KDL::Frame& pose)
      : scene_(scene),
        camera_(camera),
        origin_(pose.p),
        right_(to_direction(pose.M.UnitX() / camera.focal)),
        down_(to_direction(pose.M.UnitY() / camera.focal)),
        ahead_(to_direction(pose.M.UnitZ())) {}

  void aim(float column, float row) {
    const float x = column - static_cast<float>(camera_.centre_x());
    const float y = row - static_cast<float>(camera_.centre_y());
    // One metre along the optical axis.
    rays_.push_back({ahead_.x + x * right_.x + y * down_.x, ahead_.y + x * right_.y + y * down_.y,
                     ahead_.z + x * right_.z + y * down_.z});
  }

  // Looks through all places aimed at since the last time.
  void look() {
    scene_.cast(origin_, rays_, hits_);
    seen_.swap(rays_);
    rays_.clear();
  }

  cv::Vec3b colour(size_t i) const {
    const Scene::Hit& hit = hits_[i];
    if (!hit.exists()) {
      return kNothing;
    }
    const float light = kAmbient + (1.0F - kAmbient) * std::max(0.0F, dot(hit.normal, kLight));
    return scene_.colour(hit.body, point(i)) * light;
  }

  // Millimetres along the optical axis.
  uint16_t depth(size_t i) const {
    const float millimetres = kMillimetres * hits_[i].distance;
    return millimetres <= std::numeric_limits<uint16_t>::max() ? static_cast<uint16_t>(std::lround(millimetres)) : 0;
  }

  uint8_t infrared(size_t i) const {
    const Scene::Hit& hit = hits_[i];
    if (!hit.exists()) {
      return 0;
    }
    const float length = std::sqrt(dot(seen_[i], seen_[i]));
    const float distance = hit.distance * length / kInfraredRange;
    const float facing = std::abs(dot(hit.normal, seen_[i])) / length;
    const float grain_size = kGrainPixels * hit.distance / static_cast<float>(camera_.focal);
    const float grain = kDarkestGrain + (1.0F - kDarkestGrain) * scene_.grain(hit.body, point(i), grain_size);
    return cv::saturate_cast<uint8_t>(255.0F * grain * facing / (1.0F + distance * distance));
  }

 private:
  KDL::Vector point(size_t i) const {
    const float distance = hits_[i].distance;
    return origin_ + KDL::Vector(distance * seen_[i].x, distance * seen_[i].y, distance * seen_[i].z);
  }

  Scene& scene_;
  const Pinhole& camera_;
  const KDL::Vector origin_;
  const Direction right_, down_, ahead_;
  std::vector<Direction> rays_;
  std::vector<Direction> seen_;
  std::vector<Scene::Hit> hits_;
};

bool differ(const cv::Vec3b& a, const cv::Vec3b& b) {
  return std::abs(a[0] - b[0]) > kEdge || std::abs(a[1] - b[1]) > kEdge || std::abs(a[2] - b[2]) > kEdge;
}

// Pixels on both sides of every edge.
std::vector<cv::Point> find_edges(const cv::Mat& picture) {
  std::vector<cv::Point> edges;
  cv::Mat1b seen(picture.size(), uint8_t{0});
  const auto mark = [&](int x, int y) {
    if (seen(y, x) == 0) {
      seen(y, x) = 1;
      edges.emplace_back(x, y);
    }
  };
  for (int y = 0; y < picture.rows; ++y) {
    for (int x = 0; x < picture.cols; ++x) {
      const auto& pixel = picture.at<cv::Vec3b>(y, x);
      if (x + 1 < picture.cols && differ(pixel, picture.at<cv::Vec3b>(y, x + 1))) {
        mark(x, y);
        mark(x + 1, y);
      }
      if (y + 1 < picture.rows && differ(pixel, picture.at<cv::Vec3b>(y + 1, x))) {
        mark(x, y);
        mark(x, y + 1);
      }
    }
  }
  return edges;
}

void smooth_edges(Eye& eye, cv::Mat& picture) {
  constexpr size_t kChunk = 256;  // Pixels; their rays fit a processor's cache.
  const std::vector<cv::Point> edges = find_edges(picture);
  for (size_t begin = 0; begin < edges.size(); begin += kChunk) {
    const size_t end = std::min(begin + kChunk, edges.size());
    for (size_t i = begin; i < end; ++i) {
      for (const auto& part : kParts) {
        eye.aim(static_cast<float>(edges[i].x) + part[0], static_cast<float>(edges[i].y) + part[1]);
      }
    }
    eye.look();
    for (size_t i = begin; i < end; ++i) {
      cv::Vec3i sum(0, 0, 0);
      for (size_t part = 0; part < 4; ++part) {
        sum += cv::Vec3i(eye.colour(4 * (i - begin) + part));
      }
      picture.at<cv::Vec3b>(edges[i]) = cv::Vec3b((sum + cv::Vec3i::all(2)) / 4);
    }
  }
}

void write_pixel(const Eye& eye, cv::Mat& picture, int x, int y, PixelKind kind) {
  const auto i = static_cast<size_t>(x);
  switch (kind) {
    case PixelKind::kColour:
      picture.at<cv::Vec3b>(y, x) = eye.colour(i);
      break;
    case PixelKind::kDepth:
      picture.at<uint16_t>(y, x) = eye.depth(i);
      break;
    case PixelKind::kInfrared:
      picture.at<uint8_t>(y, x) = eye.infrared(i);
      break;
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
  Eye eye(scene, camera, pose);
  for (int y = 0; y < camera.height; ++y) {
    for (int x = 0; x < camera.width; ++x) {
      eye.aim(static_cast<float>(x), static_cast<float>(y));
    }
    eye.look();
    for (int x = 0; x < camera.width; ++x) {
      write_pixel(eye, picture, x, y, kind);
    }
  }
  if (kind == PixelKind::kColour) {
    smooth_edges(eye, picture);
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
