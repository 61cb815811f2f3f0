#include "sight/scene.hpp"

#include <embree3/rtcore.h>

#include <array>
#include <cmath>
#include <stdexcept>

#include "world/surroundings.hpp"

namespace norvik::simulator {

namespace {

constexpr uint32_t kFloor = 0;
constexpr double kTile = 0.5;  // m

using Triangle = std::array<uint32_t, 3>;
// Corner i has its x, y, z on the far side where bit 0, 1, 2 of i is set.
constexpr std::array<Triangle, 12> kTriangles = {{{0, 4, 6},
                                                  {0, 6, 2},
                                                  {1, 3, 7},
                                                  {1, 7, 5},
                                                  {0, 1, 5},
                                                  {0, 5, 4},
                                                  {2, 6, 7},
                                                  {2, 7, 3},
                                                  {0, 2, 3},
                                                  {0, 3, 1},
                                                  {4, 5, 7},
                                                  {4, 7, 6}}};

void write_corners(const SceneBox& box, const KDL::Vector& centre, float* corners) {
  for (int i = 0; i < 8; ++i) {
    for (int axis = 0; axis < 3; ++axis) {
      const double side = (i >> axis & 1) != 0 ? 0.5 : -0.5;
      corners[3 * i + axis] = static_cast<float>(centre(axis) + side * box.size(axis));
    }
  }
}

Scene::Direction facing(const RTCRayHit& ray) {
  const float length =
      std::sqrt(ray.hit.Ng_x * ray.hit.Ng_x + ray.hit.Ng_y * ray.hit.Ng_y + ray.hit.Ng_z * ray.hit.Ng_z);
  const float along = ray.hit.Ng_x * ray.ray.dir_x + ray.hit.Ng_y * ray.ray.dir_y + ray.hit.Ng_z * ray.ray.dir_z;
  const float scale = (along > 0.0F ? -1.0F : 1.0F) / length;
  return {ray.hit.Ng_x * scale, ray.hit.Ng_y * scale, ray.hit.Ng_z * scale};
}

RTCRayHit make_ray(const KDL::Vector& origin, const Scene::Direction& direction) {
  RTCRayHit ray{};
  ray.ray.org_x = static_cast<float>(origin.x());
  ray.ray.org_y = static_cast<float>(origin.y());
  ray.ray.org_z = static_cast<float>(origin.z());
  ray.ray.dir_x = direction.x;
  ray.ray.dir_y = direction.y;
  ray.ray.dir_z = direction.z;
  ray.ray.tfar = std::numeric_limits<float>::infinity();
  ray.ray.mask = ~0U;
  ray.hit.geomID = RTC_INVALID_GEOMETRY_ID;
  return ray;
}

}  // namespace

struct Scene::Core {
  RTCDevice device = rtcNewDevice("threads=1");
  RTCScene scene = device != nullptr ? rtcNewScene(device) : nullptr;
  struct Sliding {
    const SceneBox* box;
    RTCGeometry geometry;
    float* corners;
  };
  std::vector<Sliding> sliding;
  std::vector<RTCRayHit> rays;

  Core() {
    if (scene == nullptr) {
      throw std::runtime_error("the ray caster cannot be set up");
    }
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_DYNAMIC);
    for (const SceneBox& box : surroundings()) {
      add(box);
    }
    rtcCommitScene(scene);
  }

  ~Core() {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }

  // A geometry's number is its box's place in the table.
  void add(const SceneBox& box) {
    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* corners = static_cast<float*>(
        rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, 3 * sizeof(float), 8));
    auto* triangles = static_cast<uint32_t*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, sizeof(Triangle), kTriangles.size()));
    write_corners(box, box.centre, corners);
    for (const Triangle& triangle : kTriangles) {
      triangles = std::copy(triangle.begin(), triangle.end(), triangles);
    }
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);  // The scene keeps it.
    if (box.slides()) {
      sliding.push_back({&box, geometry, corners});
    }
  }
};

Scene::Scene() : core_(new Core) {}
Scene::~Scene() = default;

void Scene::move_to(double time) {
  for (const auto& [box, geometry, corners] : core_->sliding) {
    write_corners(*box, centre_at(*box, time), corners);
    rtcUpdateGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0);
    rtcCommitGeometry(geometry);
  }
  rtcCommitScene(core_->scene);
}

void Scene::cast(const KDL::Vector& origin, const std::vector<Direction>& directions, std::vector<Hit>& hits) {
  auto& rays = core_->rays;
  rays.clear();
  for (const Direction& direction : directions) {
    rays.push_back(make_ray(origin, direction));
  }
  RTCIntersectContext context;
  rtcInitIntersectContext(&context);
  context.flags = RTC_INTERSECT_CONTEXT_FLAG_COHERENT;
  rtcIntersect1M(core_->scene, &context, rays.data(), static_cast<unsigned>(rays.size()), sizeof(RTCRayHit));
  hits.clear();
  for (const RTCRayHit& ray : rays) {
    const bool met = ray.hit.geomID != RTC_INVALID_GEOMETRY_ID;
    hits.push_back(met ? Hit{ray.ray.tfar, facing(ray), ray.hit.geomID} : Hit{});
  }
}

std::optional<double> Scene::distance(const KDL::Frame& sensor) {
  const KDL::Vector x = sensor.M.UnitX();
  std::vector<Hit> hits;
  cast(sensor.p, {{static_cast<float>(x.x()), static_cast<float>(x.y()), static_cast<float>(x.z())}}, hits);
  return hits[0].exists() ? std::optional<double>(hits[0].distance) : std::nullopt;
}

cv::Vec3b Scene::colour(uint32_t body, const KDL::Vector& point) const {
  const auto& [blue, green, red] = surroundings()[body].colour;
  const cv::Vec3b colour(blue, green, red);
  const bool dark_tile =
      body == kFloor &&
      (std::lround(std::floor(point.x() / kTile)) + std::lround(std::floor(point.y() / kTile))) % 2 != 0;
  return dark_tile ? cv::Vec3b(colour[0] / 2, colour[1] / 2, colour[2] / 2) : colour;
}

}  // namespace norvik::simulator
