#include "model/urdf_tree.hpp"

#include <urdf_model/model.h>
#include <urdf_parser/urdf_parser.h>

#include <fstream>
#include <sstream>

namespace norvik::simulator {

namespace {

KDL::Vector to_kdl(const urdf::Vector3& v) { return {v.x, v.y, v.z}; }

KDL::Frame to_kdl(const urdf::Pose& pose) {
  const urdf::Rotation& r = pose.rotation;
  return {KDL::Rotation::Quaternion(r.x, r.y, r.z, r.w), to_kdl(pose.position)};
}

KDL::Joint to_kdl(const urdf::Joint& joint) {
  const KDL::Frame origin = to_kdl(joint.parent_to_joint_origin_transform);
  const KDL::Vector axis = origin.M * to_kdl(joint.axis);
  switch (joint.type) {
    case urdf::Joint::REVOLUTE:
    case urdf::Joint::CONTINUOUS:
      return {joint.name, origin.p, axis, KDL::Joint::RotAxis};
    case urdf::Joint::PRISMATIC:
      return {joint.name, origin.p, axis, KDL::Joint::TransAxis};
    default:
      return KDL::Joint(joint.name, KDL::Joint::Fixed);
  }
}

void add_children(const urdf::Link& link, KDL::Tree& tree) {
  for (const auto& child : link.child_links) {
    tree.addSegment(make_segment(*child->parent_joint), link.name);
    add_children(*child, tree);
  }
}

}  // namespace

urdf::ModelInterfaceSharedPtr read_urdf(const std::string& path, std::string& error) {
  std::ifstream file(path);
  std::ostringstream text;
  text << file.rdbuf();
  if (!file) {
    error = "cannot read " + path;
    return nullptr;
  }
  auto model = urdf::parseURDF(text.str());
  if (!model || !model->getRoot()) {
    error = path + " is no valid URDF";
    return nullptr;
  }
  return model;
}

KDL::Segment make_segment(const urdf::Joint& joint) {
  return KDL::Segment(joint.child_link_name, to_kdl(joint), to_kdl(joint.parent_to_joint_origin_transform));
}

KDL::Tree make_kdl_tree(const urdf::ModelInterface& model) {
  KDL::Tree tree(model.getRoot()->name);
  add_children(*model.getRoot(), tree);
  return tree;
}

}  // namespace norvik::simulator
