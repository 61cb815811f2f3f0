#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "planning/basis/planning_model.hpp"
#include "planning/scene/shape.hpp"

namespace fcl {
template <typename S>
class CollisionGeometry;
}

namespace norvik::simulator::planning {

// A body that a caller describes. Names are free, but not empty.
struct ObjectSpec {
  std::string name;
  FrameRef parent;
  KDL::Frame pose;  // In `parent`.
  Shape shape;
  std::vector<std::string> ignored_links;  // These may touch it.
  double safe_margin = 0.0;                // Metres that the others keep away, at least 0.
  std::optional<RobotState> reference;  // Where the robot stood when `pose` was measured; empty: where it stands now.
};

struct SceneObject {
  ObjectSpec spec;   // As it was given.
  std::string link;  // That carries it; empty: it stands in the world.
  KDL::Frame pose;   // In the link, or in the world.
  std::shared_ptr<const fcl::CollisionGeometry<double>> geometry = {};  // Of the shape, grown by the margin if it can.
};

// What surrounds the robot and what it holds. A value: a copy is independent and cheap, as objects are shared. Const
// members may run on several threads at once.
class Scene {
 public:
  using Objects = std::map<std::string, std::shared_ptr<const SceneObject>>;  // By name.

  // Put an object where its frame and `now` (or its reference) say; from then on it stays in the world, or on the
  // robot: on the link of its frame, on the base link for the frames world and base. An object of the same name,
  // standing or attached, is replaced. A failure changes nothing.
  Outcome add_obstacle(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now);
  Outcome attach_object(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now);

  // False for an unknown name, which changes nothing.
  bool remove_obstacle(const std::string& name);
  bool detach_object(const std::string& name);
  void clear_obstacles() { obstacles_.clear(); }
  void clear_attached() { attached_.clear(); }

  const Objects& obstacles() const { return obstacles_; }
  const Objects& attached() const { return attached_; }

  // Put a tool of tool_names() on an arm, in place of the one there; "None" takes it off. The tool's body replaces that
  // of the gripper, its tip is what `PoseTarget::tool` moves.
  Outcome attach_tool(const PlanningModel& model, const std::string& chain, const std::string& tool);
  // Fails for an arm without tool.
  Outcome detach_tool(const PlanningModel& model, const std::string& chain);
  const std::map<std::string, std::string>& tools() const { return tools_; }  // By chain, "None" left out.
  // Of the chain's tool in its end effector link; the identity without tool.
  KDL::Frame tool_tip(const std::string& chain) const;

 private:
  Outcome place(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now, bool attach,
                SceneObject& object) const;

  Objects obstacles_;
  Objects attached_;
  std::map<std::string, std::string> tools_;
};

// Poses of frames in the world.
struct FrameResult {
  Outcome outcome;
  KDL::Frame pose;
};
FrameResult frame_pose(const PlanningModel& model, const FrameRef& frame, const RobotState& state);

struct ToolModel {
  std::string name;
  KDL::Frame tip;  // In the end effector link.
  struct Body {
    Shape shape;
    KDL::Frame pose;  // In the end effector link.
  };
  std::vector<Body> bodies;
  std::string base_link_name;  // As data about tools names them; no links of the model.
  std::string tip_link_name;
};

// With "None" first.
std::vector<std::string> tool_names();
const ToolModel* find_tool(const std::string& name);

}  // namespace norvik::simulator::planning
