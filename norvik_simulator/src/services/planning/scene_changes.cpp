#include "services/planning/scene_changes.hpp"

#include <cmath>
#include <utility>

#include "norvik/kelvorn_proto/mps_status.pb.h"
#include "services/planning/messages/bad_request.hpp"
#include "services/planning/messages/wire_reading.hpp"
#include "world/refusal.hpp"

namespace norvik::simulator {

namespace {

namespace proto = kelvorn_proto;
using proto::PlannerStatus;

// All names are in every status, which has 64 KiB.
constexpr size_t kLongestName = 256;
constexpr size_t kRoomForNames = 32 * 1024;
constexpr size_t kMostAttached = 100;        // One answer holds them all.
constexpr double kDefaultResolution = 0.02;  // Metres.

void require(const planning::Outcome& outcome, int32_t code = PlannerStatus::PARAM_ERROR) {
  if (!outcome) {
    throw BadRequest(outcome.description, code);
  }
}

[[noreturn]] void refuse_unknown(const char* what) {
  throw BadRequest(std::string(what) + " is not implemented", PlannerStatus::FUNTION_NOT_IMPLEMTED);
}

planning::Shape read_simple(const proto::SimpleObjectInput& object) {
  switch (object.params_case()) {
    case proto::SimpleObjectInput::kBox:
      return planning::Box{KDL::Vector(object.box().length(), object.box().width(), object.box().height())};
    case proto::SimpleObjectInput::kSphere:
      return planning::Sphere{object.sphere().radius()};
    case proto::SimpleObjectInput::kCylinder:
      return planning::Cylinder{object.cylinder().base_radius(), object.cylinder().height()};
    default:
      refuse_unknown("an object of this kind");
  }
}

planning::Shape require_shape(planning::ShapeResult result, int32_t code) {
  require(result.outcome, code);
  return std::move(result.shape);
}

planning::Shape read_cloud(const proto::PointCloudParams& params) {
  if (params.point_cloud_source_case() != proto::PointCloudParams::kPcdFilePath) {
    refuse_unknown("a point cloud without a file");
  }
  return require_shape(planning::read_point_cloud(params.pcd_file_path(), params.resolution()),
                       PlannerStatus::POINT_CLOUD_INVALID);
}

planning::ObjectSpec read_prop(const proto::ObjectProp& prop, const planning::RobotState& now) {
  planning::ObjectSpec spec;
  spec.name = prop.frame_prop().object_name();
  spec.parent = read_frame(prop.frame_prop().parent_frame());
  spec.pose = read_pose(prop.frame_prop().object_pose());
  spec.ignored_links = {prop.ignore_collision_link_names().begin(), prop.ignore_collision_link_names().end()};
  spec.safe_margin = prop.safe_margin();
  if (prop.has_robot_state()) {
    spec.reference = read_state(prop.robot_state(), now);
  }
  if (spec.name.size() > kLongestName) {
    throw BadRequest("a name is longer than " + std::to_string(kLongestName) + " bytes");
  }
  return spec;
}

// The camera says where its points are, not the request.
void read_depth(const proto::DepthImageParams& params, const TakeDepth& take_depth, planning::ObjectSpec& spec) {
  DepthCloud cloud = take_depth(params.camera_type());
  if (cloud.link.empty()) {
    throw BadRequest("the robot has no camera " + std::to_string(params.camera_type()),
                     PlannerStatus::CAMERA_DEPTH_PARAM_INVALID);
  }
  spec.parent = planning::FrameRef::link(cloud.link);
  spec.pose = KDL::Frame::Identity();
  const double resolution = params.resolution() > 0.0 ? params.resolution() : kDefaultResolution;
  spec.shape = require_shape(planning::make_point_cloud(std::move(cloud.points), resolution),
                             PlannerStatus::CAMERA_DEPTH_PARAM_INVALID);
}

void set_shape(const proto::buildCollsionObjectRequest& request, const TakeDepth& take_depth,
               planning::ObjectSpec& spec) {
  switch (request.object_req_case()) {
    case proto::buildCollsionObjectRequest::kSimpleObjectReq:
      spec.shape = read_simple(request.simple_object_req().simple_object());
      break;
    case proto::buildCollsionObjectRequest::kMeshReq:
      spec.shape =
          require_shape(planning::read_mesh(request.mesh_req().object_file_path()), PlannerStatus::PARAM_ERROR);
      break;
    case proto::buildCollsionObjectRequest::kPcdReq:
      spec.shape = read_cloud(request.pcd_req().point_cloud_params());
      break;
    case proto::buildCollsionObjectRequest::kDepthImageReq:
      read_depth(request.depth_image_req().depth_image_params(), take_depth, spec);
      break;
    default:
      throw BadRequest("the request describes no object");
  }
}

void require_room_for_names(const planning::Scene& scene) {
  size_t bytes = 0;
  for (const auto& [name, object] : scene.obstacles()) {
    bytes += name.size() + 3;  // With its tag and length.
  }
  if (bytes > kRoomForNames) {
    throw BadRequest("the names of the objects no longer fit into a status");
  }
}

void remove_objects(const proto::removeCollisionObjectRequest& request, planning::Scene& scene) {
  if (request.is_remove_all()) {
    scene.clear_obstacles();
    return;
  }
  for (const std::string& name : request.object_name()) {
    if (!scene.remove_obstacle(name) && !scene.detach_object(name)) {
      throw BadRequest("there is no object " + printable_name(name));
    }
  }
}

}  // namespace

void change_scene(const proto::CommonRequest& request, const planning::PlanningModel& model,
                  const planning::RobotState& now, const TakeDepth& take_depth, planning::Scene& scene) {
  constexpr int32_t kToolCode = PlannerStatus::CURRENT_CHAIN_ATTACH_TOOL_UNSPPORTED;
  if (request.has_attach_tool()) {
    require(scene.attach_tool(model, request.attach_tool().chain_name(), request.attach_tool().tool_name()), kToolCode);
  } else if (request.has_detach_tool()) {
    require(scene.detach_tool(model, request.detach_tool().chain_name()), kToolCode);
  } else if (request.has_build_collision_object()) {
    planning::ObjectSpec spec = read_prop(request.build_collision_object().object_config(), now);
    set_shape(request.build_collision_object(), take_depth, spec);
    require(scene.add_obstacle(model, spec, now));
    require_room_for_names(scene);
  } else if (request.has_attach_collision_object()) {
    planning::ObjectSpec spec = read_prop(request.attach_collision_object().object_config(), now);
    spec.shape = read_simple(request.attach_collision_object().simple_object().simple_object());
    require(scene.attach_object(model, spec, now));
    if (scene.attached().size() > kMostAttached) {
      throw BadRequest("the robot holds too many objects");
    }
  } else if (request.has_remove_collision_object()) {
    remove_objects(request.remove_collision_object(), scene);
  } else {
    refuse_unknown("this change of the scene");
  }
}

}  // namespace norvik::simulator
