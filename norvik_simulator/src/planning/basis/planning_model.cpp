#include "planning/basis/planning_model.hpp"

#include <urdf_model/model.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <kdl/tree.hpp>

#include "model/urdf_tree.hpp"

namespace norvik::simulator::planning {

namespace {

// Seconds to full speed and to full acceleration; the URDF tells speeds only.
constexpr double kTimeToSpeed = 0.5;
constexpr double kTimeToAcceleration = 0.1;
constexpr double kRounding = 1e-6;  // Of joint positions that have been to the wire and back.

// In the order of the whole body; a robot has either a leg or a torso.
constexpr std::array<const char*, 5> kChainNames = {"leg", "torso", "head", "left_arm", "right_arm"};

std::string urdf_name(const RobotModel& robot, const std::string& wire_name) {
  for (const auto& [urdf, wire] : robot.urdf_to_wire_joint) {
    if (wire == wire_name) {
      return urdf;
    }
  }
  return wire_name;
}

// The first of the links that the model has, else the fallback.
std::string existing_link(const PlanningModel& model, const std::vector<std::string>& links,
                          const std::string& fallback) {
  const auto it = std::find_if(links.begin(), links.end(), [&](const auto& link) { return model.link_index(link); });
  return it == links.end() ? fallback : *it;
}

}  // namespace

std::optional<PlanningModel> PlanningModel::load(const RobotModel& robot, const std::string& folder,
                                                 std::string& error) {
  PlanningModel model;
  model.urdf_ = read_urdf(folder + "/" + robot.urdf_file, error);
  if (!model.urdf_) {
    return std::nullopt;
  }
  for (const std::string name : kChainNames) {
    if (const GroupModel* group = robot.find_group(name); group && !model.add_chain(name, *group, robot, error)) {
      return std::nullopt;
    }
  }
  std::map<std::string, size_t> joint_by_urdf_name;
  for (const Chain& chain : model.chains_) {
    for (size_t i = 0; i < chain.joints.size(); ++i) {
      joint_by_urdf_name[urdf_name(robot, chain.joints[i].name)] = chain.indices[i];
    }
  }
  model.add_links(*model.urdf_->getRoot(), 0, joint_by_urdf_name);
  for (Chain& chain : model.chains_) {
    model.describe_chain(chain);
  }
  return model;
}

bool PlanningModel::add_chain(const std::string& name, const GroupModel& group, const RobotModel& robot,
                              std::string& error) {
  Chain chain{name, {}, {}, {}, {}, {}, {}};
  for (const std::string& wire_name : group.joints) {
    const auto joint = urdf_->getJoint(urdf_name(robot, wire_name));
    if (!joint || !joint->limits || !(joint->limits->velocity > 0.0)) {
      error = robot.urdf_file + ": joint " + wire_name + " is missing or has no limits";
      return false;
    }
    const double speed = joint->limits->velocity;
    const double acceleration = speed / kTimeToSpeed;
    chain.joints.push_back({wire_name, joint->limits->lower, joint->limits->upper, speed, acceleration,
                            acceleration / kTimeToAcceleration});
    chain.indices.push_back(dof_++);
  }
  chains_.push_back(std::move(chain));
  return true;
}

void PlanningModel::add_links(const urdf::Link& link, size_t parent,
                              const std::map<std::string, size_t>& joint_by_urdf_name) {
  const size_t index = links_.size();
  Link added{KDL::Segment(KDL::Joint(KDL::Joint::Fixed)), parent, index, std::nullopt};
  if (link.parent_joint) {
    added.segment = make_segment(*link.parent_joint);
    const auto joint = joint_by_urdf_name.find(link.parent_joint->name);
    if (joint != joint_by_urdf_name.end()) {
      added.joint = joint->second;
    } else {
      added.rigid_root = links_[parent].rigid_root;
    }
  }
  links_.push_back(added);
  link_names_.push_back(link.name);
  link_indices_[link.name] = index;
  for (const auto& child : link.child_links) {
    add_links(*child, index, joint_by_urdf_name);
  }
}

void PlanningModel::describe_chain(Chain& chain) const {
  for (size_t i = 0; i < links_.size(); ++i) {
    const auto joint = moving_joint(i);
    if (joint && std::find(chain.indices.begin(), chain.indices.end(), *joint) != chain.indices.end()) {
      chain.links.push_back(link_names_[i]);
    }
    if (links_[i].joint == chain.indices.front()) {
      chain.base_link = link_names_[links_[i].parent];
    }
  }
  const std::string& last = chain.links.back();
  chain.end_effector_link =
      existing_link(*this, {chain.name + "_end_effector_mount_link", chain.name + "_base_link"}, last);
  chain.camera_link = existing_link(*this, {chain.name + "_camera_color_optical_frame"}, "");
}

const Chain* PlanningModel::find_chain(const std::string& name) const {
  const auto it = std::find_if(chains_.begin(), chains_.end(), [&](const Chain& chain) { return chain.name == name; });
  return it == chains_.end() ? nullptr : &*it;
}

const ChainJoint& PlanningModel::joint(size_t index) const {
  const auto chain =
      std::find_if(chains_.begin(), chains_.end(), [&](const Chain& c) { return index <= c.indices.back(); });
  return chain->joints[index - chain->indices.front()];
}

std::optional<size_t> PlanningModel::link_index(const std::string& link) const {
  const auto it = link_indices_.find(link);
  return it == link_indices_.end() ? std::nullopt : std::optional(it->second);
}

std::optional<size_t> PlanningModel::moving_joint(size_t link) const { return links_[links_[link].rigid_root].joint; }

bool PlanningModel::is_moved_by(size_t link, size_t joint) const {
  for (;; link = links_[link].parent) {
    if (links_[link].joint == joint) {
      return true;
    }
    if (link == 0) {
      return false;
    }
  }
}

std::vector<const Chain*> PlanningModel::actuated_chains(const std::string& chain, Actuate actuate) const {
  const Chain* moved = find_chain(chain);
  if (moved == nullptr || actuate == Actuate::kChainOnly) {
    return moved == nullptr ? std::vector<const Chain*>{} : std::vector{moved};
  }
  const Chain* below = find_chain(actuate == Actuate::kWithLeg ? "leg" : "torso");
  if (below == nullptr) {
    return {};
  }
  return below == moved ? std::vector{moved} : std::vector{below, moved};
}

std::vector<KDL::Frame> PlanningModel::link_poses(const Joints& joints) const {
  std::vector<KDL::Frame> poses(links_.size());
  for (size_t i = 1; i < links_.size(); ++i) {
    poses[i] = poses[links_[i].parent] * links_[i].pose(joints);
  }
  return poses;
}

KDL::Frame PlanningModel::link_pose(size_t link, const Joints& joints) const {
  KDL::Frame pose;
  for (; link != 0; link = links_[link].parent) {
    pose = links_[link].pose(joints) * pose;
  }
  return pose;
}

std::vector<KDL::Twist> PlanningModel::jacobian(size_t link, const std::vector<size_t>& columns,
                                                const Joints& joints) const {
  std::vector<KDL::Twist> result(columns.size(), KDL::Twist::Zero());
  std::vector<size_t> road;  // From the base link to the link.
  for (size_t i = link; i != 0; i = links_[i].parent) {
    road.insert(road.begin(), i);
  }
  const KDL::Vector point = link_pose(link, joints).p;
  KDL::Frame parent;
  for (const size_t i : road) {
    const Link& moved = links_[i];
    const KDL::Frame pose = parent * moved.pose(joints);
    const auto column = moved.joint ? std::find(columns.begin(), columns.end(), *moved.joint) : columns.end();
    if (column != columns.end()) {
      // The twist of the moved link's origin per unit of the joint, carried over to the point.
      const KDL::Twist twist = parent.M * moved.segment.twist(joints[*moved.joint], 1.0);
      result[static_cast<size_t>(column - columns.begin())] = twist.RefPoint(point - pose.p);
    }
    parent = pose;
  }
  return result;
}

Outcome PlanningModel::check(const RobotState& state) const {
  if (state.joints.size() != dof_) {
    return {Reason::kInvalidInput, "a state of the whole body has " + std::to_string(dof_) + " joints, not " +
                                       std::to_string(state.joints.size())};
  }
  if (!std::all_of(state.joints.begin(), state.joints.end(), [](double q) { return std::isfinite(q); })) {
    return {Reason::kInvalidInput, "a joint position is no number"};
  }
  return check_pose(state.base);
}

Outcome PlanningModel::check_limits(const Joints& joints, const std::vector<size_t>& indices) const {
  for (const size_t i : indices) {
    const ChainJoint& limits = joint(i);
    if (joints[i] < limits.lower - kRounding || joints[i] > limits.upper + kRounding) {
      return {Reason::kOutsideLimits, limits.name + " at " + std::to_string(joints[i]) + " is outside of " +
                                          std::to_string(limits.lower) + " to " + std::to_string(limits.upper)};
    }
  }
  return {};
}

std::vector<size_t> PlanningModel::joints_of(const std::vector<std::string>& chains) const {
  std::vector<size_t> indices;
  for (const Chain& chain : chains_) {
    if (std::find(chains.begin(), chains.end(), chain.name) != chains.end()) {
      indices.insert(indices.end(), chain.indices.begin(), chain.indices.end());
    }
  }
  return indices;
}

}  // namespace norvik::simulator::planning
