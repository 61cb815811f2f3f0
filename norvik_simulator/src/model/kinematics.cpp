#include "model/kinematics.hpp"

#include <urdf_model/model.h>

#include <algorithm>
#include <kdl/chain.hpp>
#include <kdl/chainiksolverpos_lma.hpp>

#include "model/urdf_body.hpp"
#include "model/urdf_tree.hpp"

namespace norvik::simulator {

namespace {

constexpr double kMillimetresPerMetre = 1000.0;

const KDL::Segment& segment_of(const KDL::SegmentMap::value_type& entry) { return entry.second.segment; }

bool moves(const KDL::Segment& segment) { return segment.getJoint().getType() != KDL::Joint::Fixed; }

// A wheel turns without end.
JointLimits limits_of(const urdf::Joint& joint) {
  constexpr double kEndless = 1e9;
  const double speed = joint.limits ? joint.limits->velocity : 0.0;
  if (joint.type == urdf::Joint::CONTINUOUS || !joint.limits) {
    return {-kEndless, kEndless, speed};
  }
  return {joint.limits->lower, joint.limits->upper, speed};
}

const GroupModel* group_of(const RobotModel& robot, const std::string& wire_joint) {
  for (const GroupModel& group : robot.groups) {
    if (std::find(group.joints.begin(), group.joints.end(), wire_joint) != group.joints.end()) {
      return &group;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<Kinematics> Kinematics::load(const RobotModel& robot, const std::string& folder, std::string& error) {
  const auto model = read_urdf(folder + "/" + robot.urdf_file, error);
  if (!model) {
    return std::nullopt;
  }
  Kinematics kinematics;
  kinematics.tree_ = make_kdl_tree(*model);
  kinematics.root_ = model->getRoot()->name;
  kinematics.body_ = read_body(*model);
  for (const auto& [name, joint] : model->joints_) {
    if (joint->type == urdf::Joint::FIXED) {
      continue;
    }
    if (!kinematics.add_joint(name, joint->child_link_name, robot, limits_of(*joint))) {
      error = robot.urdf_file + ": joint " + name + " belongs to no group or has no speed limit";
      return std::nullopt;
    }
  }
  return kinematics;
}

bool Kinematics::add_joint(const std::string& urdf_joint, const std::string& link, const RobotModel& robot,
                           const JointLimits& limits) {
  const auto renamed = robot.urdf_to_wire_joint.find(urdf_joint);
  const std::string name = renamed == robot.urdf_to_wire_joint.end() ? urdf_joint : renamed->second;
  const GroupModel* group = group_of(robot, name);
  if (group == nullptr || limits.speed <= 0.0) {
    return false;
  }
  const double scale = group->kind == GroupKind::kGripper ? kMillimetresPerMetre : 1.0;
  joints_[urdf_joint] = {
      name, group->name, scale, {limits.lower * scale, limits.upper * scale, limits.speed * scale}, link};
  return true;
}

std::optional<JointLimits> Kinematics::limits(const std::string& joint) const {
  for (const auto& [urdf_name, wire] : joints_) {
    if (wire.name == joint) {
      return wire.limits;
    }
  }
  return std::nullopt;
}

std::string Kinematics::link_of(const std::string& joint) const {
  for (const auto& [urdf_name, wire] : joints_) {
    if (wire.name == joint) {
      return wire.link;
    }
  }
  return "";
}

double Kinematics::urdf_position(const std::string& urdf_joint, const JointPositions& positions) const {
  const auto joint = joints_.find(urdf_joint);
  if (joint == joints_.end()) {
    return 0.0;
  }
  const auto position = positions.find(joint->second.name);
  return position == positions.end() ? 0.0 : position->second / joint->second.units_per_urdf_unit;
}

std::vector<LinkTransform> Kinematics::transforms(bool moving, const JointPositions& positions) const {
  std::vector<LinkTransform> result;
  for (const auto& entry : tree_.getSegments()) {
    const KDL::Segment& segment = segment_of(entry);
    if (entry.first == root_ || moves(segment) != moving) {
      continue;
    }
    const double q = moving ? urdf_position(segment.getJoint().getName(), positions) : 0.0;
    result.push_back({entry.second.parent->first, entry.first, segment.pose(q)});
  }
  return result;
}

std::vector<LinkTransform> Kinematics::fixed_transforms() const { return transforms(false, {}); }

std::vector<LinkTransform> Kinematics::moving_transforms(const JointPositions& positions) const {
  return transforms(true, positions);
}

std::optional<KDL::Frame> Kinematics::link_pose(const std::string& link, const JointPositions& positions) const {
  auto entry = tree_.getSegment(link);
  if (entry == tree_.getSegments().end()) {
    return std::nullopt;
  }
  KDL::Frame pose = KDL::Frame::Identity();
  for (; entry->first != root_; entry = entry->second.parent) {
    const KDL::Segment& segment = segment_of(*entry);
    pose = segment.pose(urdf_position(segment.getJoint().getName(), positions)) * pose;
  }
  return pose;
}

// The joints of the group that moves `link` last, in chain order, and the link that the first of them is fixed to.
std::vector<std::string> Kinematics::group_joints_before(const std::string& link, std::string& first_link) const {
  std::vector<std::string> names;
  std::string group;
  for (auto entry = tree_.getSegment(link); entry->first != root_; entry = entry->second.parent) {
    const KDL::Segment& segment = segment_of(*entry);
    if (!moves(segment)) {
      continue;
    }
    const WireJoint& joint = joints_.at(segment.getJoint().getName());
    if (!names.empty() && joint.group != group) {
      break;
    }
    group = joint.group;
    names.insert(names.begin(), segment.getJoint().getName());
    first_link = entry->second.parent->first;
  }
  return names;
}

std::string Kinematics::moving_group(const std::string& link) const {
  std::string first_link;
  const auto names = has_link(link) ? group_joints_before(link, first_link) : std::vector<std::string>{};
  return names.empty() ? "" : joints_.at(names.front()).group;
}

std::optional<Kinematics::Solution> Kinematics::solve(const std::string& link, const KDL::Frame& pose,
                                                      const JointPositions& positions) const {
  if (!has_link(link)) {
    return std::nullopt;
  }
  std::string first_link;
  const std::vector<std::string> names = group_joints_before(link, first_link);
  KDL::Chain chain;
  if (names.empty() || !tree_.getChain(first_link, link, chain)) {
    return std::nullopt;
  }
  KDL::JntArray seed(static_cast<unsigned>(names.size()));
  for (unsigned i = 0; i < names.size(); ++i) {
    seed(i) = urdf_position(names[i], positions);
  }
  KDL::JntArray found(seed.rows());
  KDL::ChainIkSolverPos_LMA solver(chain);
  if (solver.CartToJnt(seed, link_pose(first_link, positions)->Inverse() * pose, found) < 0) {
    return std::nullopt;
  }
  Solution solution{joints_.at(names.front()).group, {}, {}};
  for (unsigned i = 0; i < names.size(); ++i) {
    const WireJoint& joint = joints_.at(names[i]);
    const double position = found(i) * joint.units_per_urdf_unit;
    if (!(position >= joint.limits.lower && position <= joint.limits.upper)) {
      return std::nullopt;
    }
    solution.joints.push_back(joint.name);
    solution.positions.push_back(position);
  }
  return solution;
}

}  // namespace norvik::simulator
