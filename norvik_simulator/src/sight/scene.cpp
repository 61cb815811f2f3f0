#include "sight/scene.hpp"

#include <embree3/rtcore.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

#include "sight/mesh.hpp"
#include "world/surroundings.hpp"

namespace norvik::simulator {

namespace {

constexpr uint32_t kFloor = 0;
constexpr double kTile = 0.5;  // m

constexpr uint32_t kNoThing = ~0U;

Mesh mesh_of(const BodyPart& part) {
  switch (part.shape) {
    case BodyShape::kCylinder:
      return cylinder_mesh(part.size.x(), part.size.z());
    case BodyShape::kSphere:
      return sphere_mesh(part.size.x());
    default:
      return box_mesh(part.size);
  }
}

// The number of the cell of a grid that a coordinate lies in. Rounding down takes a call, cutting off does not.
int64_t cell(double coordinate, double size) {
  constexpr double kFarthest = 1024.0;  // m; a multiple of all sizes, in an even number of times.
  return static_cast<int64_t>((coordinate + kFarthest) / size);
}

// 0 to 1, as if at random, for each cube of a lattice.
float noise(const std::array<int64_t, 3>& cube, uint64_t salt) {
  uint64_t hash = salt;
  for (const int64_t side : cube) {
    hash = (hash ^ static_cast<uint64_t>(side)) * 0x9E3779B97F4A7C15U;
    hash ^= hash >> 29U;
  }
  return static_cast<float>(hash >> 40U) / static_cast<float>(1U << 24U);
}

// Rays that begin inside a part of the robot leave it.
void ignore_inner_side(const RTCFilterFunctionNArguments* filter) {
  for (unsigned i = 0; i < filter->N; ++i) {
    const float along = RTCRayN_dir_x(filter->ray, filter->N, i) * RTCHitN_Ng_x(filter->hit, filter->N, i) +
                        RTCRayN_dir_y(filter->ray, filter->N, i) * RTCHitN_Ng_y(filter->hit, filter->N, i) +
                        RTCRayN_dir_z(filter->ray, filter->N, i) * RTCHitN_Ng_z(filter->hit, filter->N, i);
    filter->valid[i] = along > 0.0F ? 0 : filter->valid[i];
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

// One geometry of the ray caster; its number there is its place in the list of solids.
struct Solid {
  RTCGeometry geometry;
  float* corners;  // On the map; the ray caster's.
  std::vector<KDL::Vector> own_corners;
  KDL::Frame pose;
  cv::Vec3b colour;
  uint32_t thing = kNoThing;  // Its place in the list of things.
};

struct Scene::Core {
  RTCDevice device = rtcNewDevice("threads=1");
  RTCScene scene = device != nullptr ? rtcNewScene(device) : nullptr;
  std::vector<Solid> solids;  // Those of the surroundings first, as in their table.
  std::vector<size_t> body;   // Of solids; in the order of the parts.
  std::vector<size_t> things;
  std::vector<RTCRayHit> rays;

  explicit Core(const std::vector<BodyPart>& parts) {
    if (scene == nullptr) {
      throw std::runtime_error("the ray caster cannot be set up");
    }
    rtcSetSceneFlags(scene, RTC_SCENE_FLAG_DYNAMIC);
    for (const SceneBox& box : surroundings()) {
      add(box_mesh(box.size), box.colour, KDL::Frame(box.centre));
    }
    for (const BodyPart& part : parts) {
      body.push_back(add(mesh_of(part), part.colour, part.pose));
      rtcSetGeometryIntersectFilterFunction(solids.back().geometry, ignore_inner_side);
      rtcCommitGeometry(solids.back().geometry);
    }
    rtcCommitScene(scene);
  }

  ~Core() {
    rtcReleaseScene(scene);
    rtcReleaseDevice(device);
  }

  size_t add(const Mesh& mesh, const std::array<uint8_t, 3>& colour, const KDL::Frame& pose) {
    const RTCGeometry geometry = rtcNewGeometry(device, RTC_GEOMETRY_TYPE_TRIANGLE);
    auto* corners = static_cast<float*>(rtcSetNewGeometryBuffer(geometry, RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3,
                                                                3 * sizeof(float), mesh.corners.size()));
    auto* triangles = static_cast<uint32_t*>(rtcSetNewGeometryBuffer(
        geometry, RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, 3 * sizeof(uint32_t), mesh.triangles.size()));
    for (const auto& triangle : mesh.triangles) {
      triangles = std::copy(triangle.begin(), triangle.end(), triangles);
    }
    solids.push_back({geometry, corners, mesh.corners, pose, {colour[0], colour[1], colour[2]}});
    write_corners(solids.back());
    rtcCommitGeometry(geometry);
    rtcAttachGeometry(scene, geometry);
    rtcReleaseGeometry(geometry);  // The scene keeps it.
    return solids.size() - 1;
  }

  static void write_corners(const Solid& solid) {
    float* out = solid.corners;
    for (const KDL::Vector& corner : solid.own_corners) {
      const KDL::Vector place = solid.pose * corner;
      for (int axis = 0; axis < 3; ++axis) {
        *out++ = static_cast<float>(place(axis));
      }
    }
  }

  void move(Solid& solid, const KDL::Frame& pose) const {
    if (solid.pose == pose) {
      return;
    }
    solid.pose = pose;
    write_corners(solid);
    rtcUpdateGeometryBuffer(solid.geometry, RTC_BUFFER_TYPE_VERTEX, 0);
    rtcCommitGeometry(solid.geometry);
  }

  void slide(double time) {
    for (size_t i = 0; i < surroundings().size(); ++i) {
      if (const SceneBox& box = surroundings()[i]; box.slides()) {
        move(solids[i], KDL::Frame(centre_at(box, time)));
      }
    }
  }

  void move_things(const std::vector<Thing>& list) {
    for (size_t i = things.size(); i < list.size(); ++i) {
      things.push_back(add(box_mesh(list[i].size), list[i].colour, list[i].pose));
      solids.back().thing = static_cast<uint32_t>(i);
    }
    for (size_t i = 0; i < things.size(); ++i) {
      Solid& solid = solids[things[i]];
      if (i < list.size()) {
        rtcEnableGeometry(solid.geometry);
        move(solid, list[i].pose);
      } else {
        rtcDisableGeometry(solid.geometry);
      }
    }
  }
};

Scene::Scene(const std::vector<BodyPart>& body) : core_(new Core(body)) {}
Scene::~Scene() = default;

void Scene::move_to(double time, const std::vector<Thing>& things) {
  core_->slide(time);
  core_->move_things(things);
  rtcCommitScene(core_->scene);
}

void Scene::move_body(const std::vector<KDL::Frame>& poses) {
  for (size_t i = 0; i < std::min(poses.size(), core_->body.size()); ++i) {
    core_->move(core_->solids[core_->body[i]], poses[i]);
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

std::optional<size_t> Scene::thing(uint32_t body) const {
  const uint32_t thing = core_->solids[body].thing;
  return thing == kNoThing ? std::nullopt : std::optional<size_t>(thing);
}

cv::Vec3b Scene::colour(uint32_t body, const KDL::Vector& point) const {
  const cv::Vec3b& colour = core_->solids[body].colour;
  const bool dark_tile = body == kFloor && (cell(point.x(), kTile) + cell(point.y(), kTile)) % 2 != 0;
  return dark_tile ? cv::Vec3b(colour[0] / 2, colour[1] / 2, colour[2] / 2) : colour;
}

float Scene::grain(uint32_t body, const KDL::Vector& point, float size) const {
  // A power of two, so that two eyes see the same grains from distances that differ a little.
  const double cube = std::ldexp(1.0, std::ilogb(size) + 1);
  const KDL::Vector own = core_->solids[body].pose.Inverse(point);
  // No surface lies on a face of the cubes, which would flicker.
  return noise({cell(own.x() + 0.00137, cube), cell(own.y() + 0.00137, cube), cell(own.z() + 0.00137, cube)}, body);
}

}  // namespace norvik::simulator
