#include "impl/requests/scene_requests.hpp"

#include <cmath>
#include <map>

#include "impl/requests/guarded.hpp"
#include "impl/requests/planning_requests.hpp"
#include "impl/requests/proto_conversion.hpp"
#include "impl/tables/motion_tables.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace proto = kelvorn_proto;

namespace {

constexpr auto kOk = MotionStatus::SUCCESS;
constexpr auto kInvalid = MotionStatus::INVALID_INPUT;

enum class ParentKind { kMap, kChain, kLink, kUnknown };

ParentKind parent_kind(const SceneChecks& checks, const std::string& frame) {
  if (frame == "world" || frame == "map" || frame == "base_link") {
    return ParentKind::kMap;
  }
  if (checks.checker.check_chain(frame, false)) {
    return ParentKind::kChain;
  }
  return checks.is_link(frame) ? ParentKind::kLink : ParentKind::kUnknown;
}

void set_chain_frame(const DataChecker& checker, const SceneObject& object, proto::ChainFrame& frame) {
  frame.set_chain(chain_type(object.parent_frame));
  const std::string ee_frame = to_lower_string(object.ee_frame);
  checker.check_ee_frame(ee_frame, true);
  frame.set_frame_type(motion_tables().frame_type_map_.at(ee_frame));
  SDK_LOG(info) << "chain: " << object.parent_frame << ", " << static_cast<int>(frame.chain());
  SDK_LOG(info) << "ee: " << ee_frame << ", " << static_cast<int>(frame.frame_type());
  SDK_LOG(info) << "chain frame: " << frame.DebugString();
}

void set_parent(const DataChecker& checker, const SceneObject& object, ParentKind kind, proto::ParentFrame& parent) {
  switch (kind) {
    case ParentKind::kMap:
      parent.set_map_frame(resolve_map_frame(object.parent_frame));
      break;
    case ParentKind::kChain:
      set_chain_frame(checker, object, *parent.mutable_chain_frame());
      break;
    default:
      parent.set_parent_link_name(object.parent_frame);
  }
}

MotionStatus check_object(const SceneChecks& checks, const SceneObject& object, ParentKind& kind) {
  if (!object.reference_joint_positions.empty()) {
    checks.checker.check_whole_body_state(object.reference_joint_positions, true);
  }
  if (!object.reference_base_pose.empty()) {
    checks.checker.check_pose_7d_size(object.reference_base_pose, true);
  }
  checks.checker.check_pose_7d_size(object.pose, true);
  kind = parent_kind(checks, object.parent_frame);
  if (kind == ParentKind::kUnknown) {
    SDK_LOG(error) << "target link is not in support links";
    return kInvalid;
  }
  if (object.reference_joint_positions.empty() != object.reference_base_pose.empty()) {
    SDK_LOG(error) << "Please specify both reference_joint_positions and reference_base_pose parameters simultaneously";
    return kInvalid;
  }
  if (!std::isfinite(object.safe_margin)) {
    SDK_LOG(error) << "invalid safe_margin: " << object.safe_margin;
    return kInvalid;
  }
  return kOk;
}

// A measure of an object, which `what` names in the log.
MotionStatus check_measure(const std::string& what, double value) {
  if (value > 0.0 && std::isfinite(value)) {
    return kOk;
  }
  SDK_LOG(error) << "invalid " << what << ": " << value;
  return kInvalid;
}

MotionStatus set_box(const std::array<double, 3>& scale, proto::SimpleObjectInput& object) {
  for (size_t i = 0; i < scale.size(); ++i) {
    if (check_measure("box scale[" + std::to_string(i) + "]", scale[i]) != kOk) {
      return kInvalid;
    }
  }
  auto& box = *object.mutable_box();
  box.set_length(scale[0]);
  box.set_width(scale[1]);
  box.set_height(scale[2]);
  return kOk;
}

MotionStatus set_sphere(const std::array<double, 3>& scale, proto::SimpleObjectInput& object) {
  object.mutable_sphere()->set_radius(scale[0]);
  return check_measure("sphere radius", scale[0]);
}

MotionStatus set_cylinder(const std::array<double, 3>& scale, proto::SimpleObjectInput& object) {
  object.mutable_cylinder()->set_base_radius(scale[0]);
  object.mutable_cylinder()->set_height(scale[1]);
  const MotionStatus radius = check_measure("cylinder base_radius", scale[0]);
  return radius == kOk ? check_measure("cylinder height", scale[1]) : radius;
}

MotionStatus set_simple_object(const SceneObject& object, proto::SimpleObjectInput& message) {
  static const auto* const setters =
      new std::map<std::string, MotionStatus (*)(const std::array<double, 3>&, proto::SimpleObjectInput&)>{
          {"box", set_box}, {"sphere", set_sphere}, {"cylinder", set_cylinder}};
  message.set_type(motion_tables().simple_object_type_map_.at(object.object_type));
  return setters->at(object.object_type)(object.scale, message);
}

MotionStatus refuse_prop() {
  SDK_LOG(error) << "creat object prop failed.";
  return kInvalid;
}

MotionStatus fill_geometry(const SceneChecks& checks, const std::string& target, const SceneObject& object,
                           proto::CommonRequest& request) {
  const bool in_map = target == kMapTarget;
  proto::ObjectProp& prop = in_map ? *request.mutable_build_collision_object()->mutable_object_config()
                                   : *request.mutable_attach_collision_object()->mutable_object_config();
  if (create_object_prop(checks, object, prop) != kOk) {
    return refuse_prop();
  }
  proto::SimpleObjectInput& message =
      in_map ? *request.mutable_build_collision_object()->mutable_simple_object_req()->mutable_simple_object()
             : *request.mutable_attach_collision_object()->mutable_simple_object()->mutable_simple_object();
  return set_simple_object(object, message);
}

MotionStatus set_mesh(const SceneObject& object, proto::buildCollsionObjectRequest& request) {
  request.mutable_mesh_req()->set_object_file_path(object.key);
  return kOk;
}

MotionStatus check_resolution(double resolution) {
  if (std::isfinite(resolution)) {
    return kOk;
  }
  SDK_LOG(error) << "invalid resolution: " << resolution;
  return kInvalid;
}

MotionStatus set_point_cloud(const SceneObject& object, proto::buildCollsionObjectRequest& request) {
  auto& cloud = *request.mutable_pcd_req()->mutable_point_cloud_params();
  cloud.set_pcd_file_path(object.key);
  cloud.set_resolution(object.resolution);
  return check_resolution(object.resolution);
}

MotionStatus set_depth_image(const SceneObject& object, proto::buildCollsionObjectRequest& request) {
  const auto& cameras = motion_tables().camera_type_map_;
  const auto camera = cameras.find(object.key);
  if (camera == cameras.end()) {
    SDK_LOG(error) << "unsupport camera type: " << object.key;
    return kInvalid;
  }
  auto& image = *request.mutable_depth_image_req()->mutable_depth_image_params();
  image.set_camera_type(camera->second);
  image.set_resolution(object.resolution);
  return check_resolution(object.resolution);
}

struct SensedKind {
  MotionStatus (*set)(const SceneObject&, proto::buildCollsionObjectRequest&);
  const char* log_text;
};

const std::map<std::string, SensedKind>& sensed_kinds() {
  static const auto* const kinds =
      new std::map<std::string, SensedKind>{{"mesh", {set_mesh, "add mesh: "}},
                                            {"point_cloud", {set_point_cloud, "add point cloud: "}},
                                            {"depth_image", {set_depth_image, "add depth: "}}};
  return *kinds;
}

// What was not told as a geometry: only the environment takes it.
MotionStatus fill_sensed(const SceneChecks& checks, const std::string& target, const SceneObject& object,
                         const SensedKind& kind, proto::CommonRequest& request) {
  if (target != kMapTarget) {
    SDK_LOG(error) << "attach mesh to frame Robot is not support yet.";
    return MotionStatus::UNSUPPORTED_FUNCRION;
  }
  auto& build = *request.mutable_build_collision_object();
  if (create_object_prop(checks, object, *build.mutable_object_config()) != kOk) {
    return refuse_prop();
  }
  return kind.set(object, build);
}

}  // namespace

MotionStatus create_object_prop(const SceneChecks& checks, const SceneObject& object, proto::ObjectProp& prop) {
  return guarded([&] {
    ParentKind kind = ParentKind::kUnknown;
    if (check_object(checks, object, kind) != kOk) {
      return kInvalid;
    }
    auto& frame = *prop.mutable_frame_prop();
    frame.set_object_name(object.object_id);
    set_parent(checks.checker, object, kind, *frame.mutable_parent_frame());
    convert_to_pose_proto(object.pose, *frame.mutable_object_pose());
    if (!object.reference_joint_positions.empty()) {
      set_robot_state(object.reference_joint_positions, object.reference_base_pose, *prop.mutable_robot_state());
    }
    prop.mutable_ignore_collision_link_names()->Add(object.ignore_links.begin(), object.ignore_links.end());
    prop.set_safe_margin(object.safe_margin);
    return kOk;
  });
}

MotionStatus fill_add_object(const SceneChecks& checks, const std::string& target, const SceneObject& object,
                             proto::MotionPlanServerRequest& request) {
  const auto sensed = sensed_kinds().find(object.object_type);
  if (sensed == sensed_kinds().end() && motion_tables().simple_object_type_map_.count(object.object_type) == 0) {
    SDK_LOG(error) << "unsupport simple obj type: " << object.object_type;
    return kInvalid;
  }
  const bool is_sensed = sensed != sensed_kinds().end();
  proto::CommonRequest& common = *request.mutable_common_request();
  const MotionStatus status = is_sensed ? fill_sensed(checks, target, object, sensed->second, common)
                                        : fill_geometry(checks, target, object, common);
  if (status == kOk) {
    SDK_LOG(info) << (is_sensed ? sensed->second.log_text : "add geom: ") << request.DebugString();
  }
  return status;
}

MotionStatus fill_remove_objects(const std::vector<std::string>& ids, bool remove_all,
                                 proto::removeCollisionObjectRequest& request) {
  if (remove_all) {
    request.set_is_remove_all(true);
    return kOk;
  }
  if (ids.empty()) {
    SDK_LOG(error) << "id_list is empty, cannot remove objects.";
    return kInvalid;
  }
  request.mutable_object_name()->Add(ids.begin(), ids.end());
  return kOk;
}

}  // namespace norvik::sdk
