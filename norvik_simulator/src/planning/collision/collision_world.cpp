#include "planning/collision/collision_world.hpp"

#include <algorithm>

namespace norvik::simulator::planning {

namespace {

bool contains(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

bool hangs_on(const PlanningModel& model, size_t link, size_t ancestor) {
  while (link != ancestor && link != 0) {
    link = model.parent(link);
  }
  return link == ancestor;
}

// The links whose bodies a tool replaces: the gripper's, and all that hangs on it.
std::vector<size_t> replaced_by_tools(const PlanningModel& model, const Scene& scene) {
  std::vector<size_t> roots;
  for (const auto& [chain, tool] : scene.tools()) {
    const std::string side = chain.substr(0, chain.find('_'));
    if (const auto mount = model.link_index(side + "_tool_mount_link")) {
      roots.push_back(*mount);
    }
  }
  return roots;
}

}  // namespace

CollisionWorld::CollisionWorld(const PlanningModel& model, const RobotBodies& robot, const Scene& scene,
                               const CollisionSettings& settings, const KDL::Frame& base)
    : model_(&model) {
  for (const auto& [name, object] : scene.obstacles()) {
    if (!can_grow(object->spec.shape) && object->spec.safe_margin > 0.0) {
      margins_.push_back(object->spec.safe_margin);
    }
  }
  add_links(robot, scene);
  add_tools(scene);
  add_attached(scene);
  if (!settings.disable_self_collision_check) {
    add_pairs(robot);
  }
  if (!settings.disable_env_collision_check) {
    add_obstacles(scene, base);
  }
}

void CollisionWorld::add_moving(const Body& body, size_t link, const Shape& shape, const KDL::Frame& pose,
                                double margin, std::vector<std::string> ignored_links) {
  Moving mover{body, link, {}, std::move(ignored_links)};
  for (const double more : margins_) {
    mover.grown.emplace(more, make_body(body.name, make_geometry(shape, margin + more), pose));
  }
  moving_.push_back(std::move(mover));
}

void CollisionWorld::add_links(const RobotBodies& robot, const Scene& scene) {
  const std::vector<size_t> replaced = replaced_by_tools(*model_, scene);
  for (const RobotBodies::LinkBody& body : robot.bodies()) {
    if (std::any_of(replaced.begin(), replaced.end(),
                    [&](size_t root) { return hangs_on(*model_, body.link, root); })) {
      continue;
    }
    add_moving(body.body, body.link, body.shape, body.pose, 0.0, {});
  }
}

void CollisionWorld::add_tools(const Scene& scene) {
  for (const auto& [chain, tool] : scene.tools()) {
    const size_t link = *model_->link_index(model_->find_chain(chain)->end_effector_link);
    for (const ToolModel::Body& body : find_tool(tool)->bodies) {
      add_moving(make_body(tool, make_geometry(body.shape, 0.0), body.pose), link, body.shape, body.pose, 0.0, {});
    }
  }
}

void CollisionWorld::add_attached(const Scene& scene) {
  for (const auto& [name, object] : scene.attached()) {
    const ObjectSpec& spec = object->spec;
    add_moving(make_body(name, object->geometry, object->pose), *model_->link_index(object->link), spec.shape,
               object->pose, spec.safe_margin, spec.ignored_links);
  }
}

bool CollisionWorld::ignores(const Moving& mover, size_t link) const {
  return contains(mover.ignored_links, model_->links()[link]);
}

void CollisionWorld::add_pairs(const RobotBodies& robot) {
  for (size_t i = 0; i < moving_.size(); ++i) {
    for (size_t j = i + 1; j < moving_.size(); ++j) {
      const Moving& first = moving_[i];
      const Moving& second = moving_[j];
      if (!robot.may_touch(first.link, second.link) && !ignores(first, second.link) && !ignores(second, first.link)) {
        pairs_.emplace_back(i, j);
      }
    }
  }
}

void CollisionWorld::add_obstacles(const Scene& scene, const KDL::Frame& base) {
  const KDL::Frame to_base = base.Inverse();
  for (const auto& [name, object] : scene.obstacles()) {
    const ObjectSpec& spec = object->spec;
    Standing obstacle{
        make_body(name, object->geometry, to_base * object->pose), can_grow(spec.shape) ? 0.0 : spec.safe_margin, {}};
    for (size_t i = 0; i < moving_.size(); ++i) {
      if (!contains(spec.ignored_links, model_->links()[moving_[i].link])) {
        obstacle.movers.push_back(i);
      }
    }
    standing_.push_back(std::move(obstacle));
  }
}

std::vector<Eigen::Isometry3d> CollisionWorld::link_poses(const Joints& joints) const {
  std::vector<Eigen::Isometry3d> poses;
  const auto frames = model_->link_poses(joints);
  poses.reserve(frames.size());
  for (const KDL::Frame& frame : frames) {
    poses.push_back(to_eigen(frame));
  }
  return poses;
}

std::optional<Contact> CollisionWorld::check(const Joints& joints) const {
  const auto poses = link_poses(joints);
  for (const auto& [i, j] : pairs_) {
    const Moving& first = moving_[i];
    const Moving& second = moving_[j];
    if (collide(first.body, poses[first.link], second.body, poses[second.link])) {
      return Contact{first.body.name, second.body.name};
    }
  }
  static const Eigen::Isometry3d kAsItStands = Eigen::Isometry3d::Identity();
  for (const Standing& obstacle : standing_) {
    for (const size_t i : obstacle.movers) {
      const Moving& mover = moving_[i];
      const Body& body = obstacle.margin > 0.0 ? mover.grown.at(obstacle.margin) : mover.body;
      if (collide(body, poses[mover.link], obstacle.body, kAsItStands)) {
        return Contact{mover.body.name, obstacle.body.name};
      }
    }
  }
  return std::nullopt;
}

CollisionWorld CollisionWorld::moved_by(const std::vector<size_t>& joints) const {
  // Of the given joints, those that move a body: bodies with equal sets do not move against each other.
  const auto movers_of = [&](const Moving& mover) {
    std::vector<size_t> found;
    std::copy_if(joints.begin(), joints.end(), std::back_inserter(found),
                 [&](size_t joint) { return model_->is_moved_by(mover.link, joint); });
    return found;
  };
  std::vector<std::vector<size_t>> movers;
  std::transform(moving_.begin(), moving_.end(), std::back_inserter(movers), movers_of);
  CollisionWorld result = *this;
  const auto together = [&](const auto& pair) { return movers[pair.first] == movers[pair.second]; };
  result.pairs_.erase(std::remove_if(result.pairs_.begin(), result.pairs_.end(), together), result.pairs_.end());
  for (Standing& obstacle : result.standing_) {
    auto& of = obstacle.movers;
    of.erase(std::remove_if(of.begin(), of.end(), [&](size_t i) { return movers[i].empty(); }), of.end());
  }
  return result;
}

}  // namespace norvik::simulator::planning
