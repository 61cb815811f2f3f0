#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "planning/basis/planning_settings.hpp"
#include "planning/collision/robot_bodies.hpp"
#include "planning/scene/scene.hpp"

namespace norvik::simulator::planning {

// Two bodies that are too near to each other: names of links, obstacles, attached objects or tools.
struct Contact {
  std::string first;
  std::string second;
};

// A robot with what it holds, among the obstacles, at one place of its base. Const members may run on several threads
// at once. The model and the bodies must outlive it.
class CollisionWorld {
 public:
  CollisionWorld(const PlanningModel& model, const RobotBodies& robot, const Scene& scene,
                 const CollisionSettings& settings, const KDL::Frame& base);

  // The first contact that is found; `joints` has one value for each joint of the model.
  std::optional<Contact> check(const Joints& joints) const;

  // Leave out what these joints cannot change: of use after a check() of the state that the others stay in.
  CollisionWorld moved_by(const std::vector<size_t>& joints) const;

 private:
  struct Moving {
    Body body;
    size_t link;
    std::map<double, Body> grown;  // By margin: for obstacles that cannot grow themselves.
    std::vector<std::string> ignored_links;
  };
  struct Standing {
    Body body;
    double margin;  // That the robot grows by.
    std::vector<size_t> movers;
  };
  void add_links(const RobotBodies& robot, const Scene& scene);
  void add_tools(const Scene& scene);
  void add_attached(const Scene& scene);
  void add_obstacles(const Scene& scene, const KDL::Frame& base);
  void add_pairs(const RobotBodies& robot);
  void add_moving(const Body& body, size_t link, const Shape& shape, const KDL::Frame& pose, double margin,
                  std::vector<std::string> ignored_links);
  bool ignores(const Moving& mover, size_t link) const;
  std::vector<Eigen::Isometry3d> link_poses(const Joints& joints) const;

  const PlanningModel* model_;
  std::vector<double> margins_;  // Of obstacles that cannot grow.
  std::vector<Moving> moving_;
  std::vector<std::pair<size_t, size_t>> pairs_;  // Of moving_.
  std::vector<Standing> standing_;
};

}  // namespace norvik::simulator::planning
