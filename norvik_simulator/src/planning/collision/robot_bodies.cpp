#include "planning/collision/robot_bodies.hpp"

#include <urdf_model/model.h>

#include <algorithm>
#include <random>

namespace norvik::simulator::planning {

namespace {

std::optional<Shape> to_shape(const urdf::Geometry& geometry) {
  switch (geometry.type) {
    case urdf::Geometry::BOX: {
      const urdf::Vector3& size = static_cast<const urdf::Box&>(geometry).dim;
      return Box{{size.x, size.y, size.z}};
    }
    case urdf::Geometry::SPHERE:
      return Sphere{static_cast<const urdf::Sphere&>(geometry).radius};
    case urdf::Geometry::CYLINDER: {
      const auto& cylinder = static_cast<const urdf::Cylinder&>(geometry);
      return Cylinder{cylinder.radius, cylinder.length};
    }
    default:
      return std::nullopt;
  }
}

KDL::Frame to_kdl(const urdf::Pose& pose) {
  const urdf::Rotation& r = pose.rotation;
  return {KDL::Rotation::Quaternion(r.x, r.y, r.z, r.w),
          KDL::Vector(pose.position.x, pose.position.y, pose.position.z)};
}

RobotBodies::LinkPair ordered(size_t first, size_t second) { return std::minmax(first, second); }

std::vector<Eigen::Isometry3d> poses_of(const PlanningModel& model, const Joints& joints) {
  std::vector<Eigen::Isometry3d> poses;
  for (const KDL::Frame& pose : model.link_poses(joints)) {
    poses.push_back(to_eigen(pose));
  }
  return poses;
}

}  // namespace

std::optional<RobotBodies> RobotBodies::load(const PlanningModel& model, std::string& error) {
  RobotBodies result;
  for (size_t i = 0; i < model.links().size(); ++i) {
    const size_t root = model.rigid_root(i);
    result.rigid_roots_.push_back(root);
    result.rigid_parents_.push_back(model.rigid_root(model.parent(root)));
    if (!result.add_bodies(*model.urdf().getLink(model.links()[i]), i)) {
      error = model.links()[i] + " has a body that is neither box, cylinder nor sphere";
      return std::nullopt;
    }
  }
  result.find_links_that_always_touch(model);
  const auto wrong = result.touching(poses_of(model, Joints(model.dof())));
  if (!wrong.empty()) {
    error = model.links()[wrong.begin()->first] + " touches " + model.links()[wrong.begin()->second] +
            " with all joints at zero";
    return std::nullopt;
  }
  return result;
}

bool RobotBodies::add_bodies(const urdf::Link& link, size_t index) {
  for (const auto& collision : link.collision_array) {
    const auto shape = to_shape(*collision->geometry);
    if (!shape || !check_shape(*shape)) {
      return false;
    }
    const KDL::Frame pose = to_kdl(collision->origin);
    bodies_.push_back({index, *shape, pose, make_body(link.name, make_geometry(*shape, 0.0), pose)});
  }
  return true;
}

bool RobotBodies::may_touch(size_t first, size_t second) const {
  const size_t a = rigid_roots_[first];
  const size_t b = rigid_roots_[second];
  return a == b || rigid_parents_[a] == b || rigid_parents_[b] == a || allowed_.count(ordered(first, second)) > 0;
}

std::set<RobotBodies::LinkPair> RobotBodies::touching(const Poses& poses) const {
  std::set<LinkPair> pairs;
  for (size_t i = 0; i < bodies_.size(); ++i) {
    for (size_t j = i + 1; j < bodies_.size(); ++j) {
      const LinkBody& first = bodies_[i];
      const LinkBody& second = bodies_[j];
      if (!may_touch(first.link, second.link) &&
          collide(first.body, poses[first.link], second.body, poses[second.link])) {
        pairs.insert(ordered(first.link, second.link));
      }
    }
  }
  return pairs;
}

// Links that touch in each of many random postures do so by their build.
void RobotBodies::find_links_that_always_touch(const PlanningModel& model) {
  constexpr int kPostures = 50;
  std::mt19937 random;
  std::set<LinkPair> always;
  for (int n = 0; n < kPostures && (n == 0 || !always.empty()); ++n) {
    Joints joints(model.dof());
    for (size_t i = 0; i < joints.size(); ++i) {
      joints[i] = std::uniform_real_distribution<>(model.joint(i).lower, model.joint(i).upper)(random);
    }
    const std::set<LinkPair> now = touching(poses_of(model, joints));
    std::set<LinkPair> both;
    std::set_intersection(always.begin(), always.end(), now.begin(), now.end(), std::inserter(both, both.end()));
    always = n == 0 ? now : both;
  }
  allowed_ = std::move(always);
}

}  // namespace norvik::simulator::planning
