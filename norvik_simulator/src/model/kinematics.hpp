#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>
#include <kdl/frames.hpp>
#include <kdl/tree.hpp>

#include "model/body_part.hpp"
#include "model/robot_model.hpp"

namespace norvik::simulator {

using JointPositions = std::map<std::string, double>;  // By wire name, in wire units.

struct LinkTransform {
  std::string parent;
  std::string child;
  KDL::Frame pose;  // Of the child in the parent.
};

// The link tree of a model with its joint limits. Immutable, so any thread may use it.
class Kinematics {
 public:
  // Reads the model's URDF from `folder`. Empty, with a reason, when it cannot be read or does not fit the model.
  static std::optional<Kinematics> load(const RobotModel& robot, const std::string& folder, std::string& error);

  // Of a joint of the URDF; empty for the others (hands, suction cups).
  std::optional<JointLimits> limits(const std::string& joint) const;
  const std::string& root_link() const { return root_; }
  bool has_link(const std::string& link) const { return tree_.getSegment(link) != tree_.getSegments().end(); }
  // The joint group that moves a link last; empty when no joint does, or there is no such link.
  std::string moving_group(const std::string& link) const;
  // The link that a joint moves, told by its wire name; empty for a joint that is not in the URDF.
  std::string link_of(const std::string& joint) const;

  // The pieces that the robot's body is drawn of.
  const std::vector<BodyPart>& body() const { return body_; }

  std::vector<LinkTransform> fixed_transforms() const;
  std::vector<LinkTransform> moving_transforms(const JointPositions& positions) const;

  // Pose of a link in the root link; empty for an unknown link.
  std::optional<KDL::Frame> link_pose(const std::string& link, const JointPositions& positions) const;

  struct Solution {
    std::string group;
    std::vector<std::string> joints;
    std::vector<double> positions;
  };
  // Joint positions of the last joint group before `link` that put it at `pose` (in the root link), near `positions`.
  // Empty when there are none within the limits.
  std::optional<Solution> solve(const std::string& link, const KDL::Frame& pose, const JointPositions& positions) const;

 private:
  Kinematics() = default;

  double urdf_position(const std::string& urdf_joint, const JointPositions& positions) const;
  std::vector<std::string> group_joints_before(const std::string& link, std::string& first_link) const;
  std::vector<LinkTransform> transforms(bool moving, const JointPositions& positions) const;
  bool add_joint(const std::string& urdf_joint, const std::string& link, const RobotModel& robot,
                 const JointLimits& limits);

  // A joint of the URDF as the wire knows it.
  struct WireJoint {
    std::string name;
    std::string group;
    double units_per_urdf_unit;
    JointLimits limits;
    std::string link;  // That it moves.
  };
  KDL::Tree tree_;
  std::string root_;
  std::vector<BodyPart> body_;
  std::map<std::string, WireJoint> joints_;  // By URDF name.
};

}  // namespace norvik::simulator
