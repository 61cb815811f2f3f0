#pragma once

#include <urdf_model/types.h>
#include <urdf_world/types.h>

#include <map>
#include <optional>
#include <string>
#include <vector>
#include <kdl/segment.hpp>

#include "model/robot_model.hpp"
#include "planning/basis/planning_types.hpp"

namespace norvik::simulator::planning {

struct ChainJoint {
  std::string name;  // On the wire.
  double lower;      // Radians or metres, as on the wire.
  double upper;
  double speed;         // Per second.
  double acceleration;  // Per second squared.
  double jerk;          // Per second cubed.
};

struct Chain {
  std::string name;  // "leg" or "torso", "head", "left_arm", "right_arm".
  std::vector<ChainJoint> joints;
  std::vector<size_t> indices;  // Of the joints in the whole body.
  std::string base_link;        // The first joint moves against it.
  std::string end_effector_link;
  std::string camera_link;         // Empty when there is none.
  std::vector<std::string> links;  // That the joints move, up to the next chain.
};

// The chains and links of a robot, read from its URDF. Immutable, so any thread may use it.
class PlanningModel {
 public:
  // Empty, with a reason, when the URDF cannot be read or does not fit the robot.
  static std::optional<PlanningModel> load(const RobotModel& robot, const std::string& folder, std::string& error);

  const std::vector<Chain>& chains() const { return chains_; }
  const Chain* find_chain(const std::string& name) const;
  size_t dof() const { return dof_; }
  const ChainJoint& joint(size_t index) const;

  // All links, the base link first, each behind its parent.
  const std::vector<std::string>& links() const { return link_names_; }
  std::optional<size_t> link_index(const std::string& link) const;
  size_t parent(size_t link) const { return links_[link].parent; }
  // Moves with the link without a joint of a chain between them.
  size_t rigid_root(size_t link) const { return links_[link].rigid_root; }
  // The joint that moves the link last; empty when none of the chains' joints does.
  std::optional<size_t> moving_joint(size_t link) const;
  bool is_moved_by(size_t link, size_t joint) const;
  const urdf::ModelInterface& urdf() const { return *urdf_; }

  // The chains that move for a chain and an actuate type, the chain itself last. Empty when the robot has none such.
  std::vector<const Chain*> actuated_chains(const std::string& chain, Actuate actuate) const;

  // Poses of all links in the base link, in the order of links(). `joints` must have dof() values.
  std::vector<KDL::Frame> link_poses(const Joints& joints) const;
  KDL::Frame link_pose(size_t link, const Joints& joints) const;

  // Velocity of the link's origin and its angular velocity for each joint of `columns`, in the axes of the base link:
  // rows x, y, z, then rotation about x, y, z.
  std::vector<KDL::Twist> jacobian(size_t link, const std::vector<size_t>& columns, const Joints& joints) const;

  // Tests the number of joints and that they are numbers.
  Outcome check(const RobotState& state) const;
  // The first of `indices` outside of its limits, with a margin for rounding.
  Outcome check_limits(const Joints& joints, const std::vector<size_t>& indices) const;
  // The indices of all joints of chains, in their order; unknown chains are left out.
  std::vector<size_t> joints_of(const std::vector<std::string>& chains) const;
  // For chains of one's own.
  const KDL::Segment& segment(size_t link) const { return links_[link].segment; }
  std::optional<size_t> joint_before(size_t link) const { return links_[link].joint; }

 private:
  PlanningModel() = default;
  bool add_chain(const std::string& name, const GroupModel& group, const RobotModel& robot, std::string& error);
  void add_links(const urdf::Link& link, size_t parent, const std::map<std::string, size_t>& joint_by_urdf_name);
  void describe_chain(Chain& chain) const;

  struct Link {
    KDL::Segment segment;
    size_t parent;
    size_t rigid_root;
    std::optional<size_t> joint;  // Of a chain, that moves it against its parent.
    KDL::Frame pose(const Joints& joints) const { return segment.pose(joint ? joints[*joint] : 0.0); }
  };
  urdf::ModelInterfaceSharedPtr urdf_;
  std::vector<Chain> chains_;
  size_t dof_ = 0;
  std::vector<Link> links_;
  std::vector<std::string> link_names_;
  std::map<std::string, size_t> link_indices_;
};

}  // namespace norvik::simulator::planning
