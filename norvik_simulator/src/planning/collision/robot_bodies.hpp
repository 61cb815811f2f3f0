#pragma once

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "planning/basis/planning_model.hpp"
#include "planning/scene/body.hpp"

namespace norvik::simulator::planning {

// The bodies of a robot's links and the pairs of links that must not touch. Immutable.
class RobotBodies {
 public:
  struct LinkBody {
    size_t link;
    Shape shape;
    KDL::Frame pose;  // In the link.
    Body body;        // Named after the link.
  };
  using LinkPair = std::pair<size_t, size_t>;  // The smaller one first.

  // Neighbours, and links that always touch, may do so. Empty, with a reason, when the URDF has a body of a kind that
  // is not known, or when other links touch with all joints at zero.
  static std::optional<RobotBodies> load(const PlanningModel& model, std::string& error);

  const std::vector<LinkBody>& bodies() const { return bodies_; }
  bool may_touch(size_t first, size_t second) const;

 private:
  using Poses = std::vector<Eigen::Isometry3d>;  // Of the links.
  bool add_bodies(const urdf::Link& link, size_t index);
  void find_links_that_always_touch(const PlanningModel& model);
  std::set<LinkPair> touching(const Poses& poses) const;

  std::vector<LinkBody> bodies_;
  std::vector<size_t> rigid_roots_;    // Of all links: the link at which the part that they belong to begins.
  std::vector<size_t> rigid_parents_;  // Of all links: the same of the part that theirs moves against.
  std::set<LinkPair> allowed_;
};

}  // namespace norvik::simulator::planning
