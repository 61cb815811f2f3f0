#include "planning/scene/scene.hpp"

#include <algorithm>
#include <cmath>

#include "planning/scene/body.hpp"

namespace norvik::simulator::planning {

namespace {

Outcome invalid(std::string description) { return {Reason::kInvalidInput, std::move(description)}; }

// The link that a frame on the robot belongs to; empty when there is none.
std::string link_of(const PlanningModel& model, const FrameRef& frame) {
  if (frame.kind != FrameRef::Kind::kChain) {
    return frame.kind == FrameRef::Kind::kLink ? frame.name : model.links().front();
  }
  const Chain* chain = model.find_chain(frame.name);
  if (chain == nullptr) {
    return "";
  }
  return frame.chain_frame == ChainFrame::kEndEffector ? chain->end_effector_link : chain->camera_link;
}

Outcome check_links(const PlanningModel& model, const std::vector<std::string>& links) {
  const auto unknown = std::find_if(links.begin(), links.end(), [&](const auto& l) { return !model.link_index(l); });
  return unknown == links.end() ? Outcome{} : invalid("unknown link " + *unknown);
}

}  // namespace

FrameResult frame_pose(const PlanningModel& model, const FrameRef& frame, const RobotState& state) {
  if (Outcome checked = model.check(state); !checked) {
    return {std::move(checked), {}};
  }
  if (frame.kind == FrameRef::Kind::kWorld) {
    return {{}, KDL::Frame::Identity()};
  }
  const auto link = model.link_index(link_of(model, frame));
  if (!link) {
    return {invalid("unknown frame " + frame.name), {}};
  }
  return {{}, state.base * model.link_pose(*link, state.joints)};
}

Outcome Scene::place(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now, bool attach,
                     SceneObject& object) const {
  if (spec.name.empty()) {
    return invalid("an object needs a name");
  }
  if (!std::isfinite(spec.safe_margin) || spec.safe_margin < 0.0) {
    return invalid(spec.name + ": the safe margin must be a number, at least 0");
  }
  for (Outcome checked : {check_shape(spec.shape), check_pose(spec.pose), check_links(model, spec.ignored_links)}) {
    if (!checked) {
      checked.description = spec.name + ": " + checked.description;
      return checked;
    }
  }
  const RobotState& state = spec.reference ? *spec.reference : now;
  const FrameResult parent = frame_pose(model, spec.parent, state);
  if (!parent.outcome) {
    return parent.outcome;
  }
  const KDL::Frame in_world = parent.pose * spec.pose;
  object = {spec, "", in_world, make_geometry(spec.shape, spec.safe_margin)};
  if (attach) {
    object.link = link_of(model, spec.parent);
    object.pose = frame_pose(model, FrameRef::link(object.link), state).pose.Inverse() * in_world;
  }
  return {};
}

Outcome Scene::add_obstacle(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now) {
  SceneObject object;
  Outcome placed = place(model, spec, now, false, object);
  if (placed) {
    attached_.erase(spec.name);
    obstacles_[spec.name] = std::make_shared<const SceneObject>(std::move(object));
  }
  return placed;
}

Outcome Scene::attach_object(const PlanningModel& model, const ObjectSpec& spec, const RobotState& now) {
  SceneObject object;
  Outcome placed = place(model, spec, now, true, object);
  if (placed) {
    obstacles_.erase(spec.name);
    attached_[spec.name] = std::make_shared<const SceneObject>(std::move(object));
  }
  return placed;
}

bool Scene::remove_obstacle(const std::string& name) { return obstacles_.erase(name) > 0; }

bool Scene::detach_object(const std::string& name) { return attached_.erase(name) > 0; }

Outcome Scene::attach_tool(const PlanningModel& model, const std::string& chain, const std::string& tool) {
  if (model.find_chain(chain) == nullptr || (chain != "left_arm" && chain != "right_arm")) {
    return invalid("no tool fits on " + chain);
  }
  const ToolModel* found = find_tool(tool);
  if (found == nullptr) {
    return invalid("unknown tool " + tool);
  }
  if (found->bodies.empty()) {
    tools_.erase(chain);
  } else {
    tools_[chain] = tool;
  }
  return {};
}

Outcome Scene::detach_tool(const PlanningModel& model, const std::string& chain) {
  if (model.find_chain(chain) == nullptr || tools_.erase(chain) == 0) {
    return invalid("there is no tool on " + chain);
  }
  return {};
}

KDL::Frame Scene::tool_tip(const std::string& chain) const {
  const auto tool = tools_.find(chain);
  return tool == tools_.end() ? KDL::Frame::Identity() : find_tool(tool->second)->tip;
}

}  // namespace norvik::simulator::planning
