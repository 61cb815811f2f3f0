// What World does with grippers, suction cups and what they hold.
#include <algorithm>
#include <cmath>

#include "world/world.hpp"

namespace norvik::simulator {

namespace {

constexpr double kMillimetres = 1000.0;
constexpr double kHoldingPressure = -59.0;  // kPa
constexpr double kFarthest = 100.0;         // m

// Half way between the fingers, y from one to the other: the finger that the joint moves gives the direction.
Fingers fingers_at(const Kinematics& kinematics, const std::string& link, const std::string& joint,
                   const KDL::Frame& base, JointPositions positions) {
  const double opening = positions[joint] / kMillimetres;
  positions[joint] = 0.0;
  const KDL::Frame closed = base * *kinematics.link_pose(link, positions);
  positions[joint] = kMillimetres;
  KDL::Vector along = (base * *kinematics.link_pose(link, positions)).p - closed.p;
  along.Normalize();
  KDL::Vector across = along * closed.M.UnitZ();
  across.Normalize();
  return {KDL::Frame(KDL::Rotation(across, along, across * along), closed.p), opening};
}

KDL::Frame to_frame(const PlanarPose& pose) {
  return {KDL::Rotation::RotZ(pose.yaw), KDL::Vector(pose.x, pose.y, 0.0)};
}

}  // namespace

void World::step_hands() {
  const KDL::Frame base = to_frame(localisation_.truth(chassis_.pose()));
  const JointPositions now = positions();
  for (Hand& hand : hands_) {
    if (hand.group->kind == GroupKind::kGripper) {
      follow_gripper(hand, base, now);
    } else {
      follow_cup(hand, base, now);
    }
  }
}

void World::follow_gripper(Hand& hand, const KDL::Frame& base, const JointPositions& positions) {
  GroupFollower& follower = followers_.at(hand.group->name);
  const JointMotion& joint = follower.joints()[0];
  const auto object = object_widths_.find(hand.group->name);
  const double width_mm = object == object_widths_.end() ? 0.0 : object->second;
  const bool press = joint.command_position < joint.position;
  hand.contact = things_.follow(hand.group->name,
                                fingers_at(kinematics_, hand.link, hand.group->joints[0], base, positions), press);
  follower.set_obstacle(0, std::max(width_mm, hand.contact ? hand.contact->extent * kMillimetres : 0.0));
}

void World::follow_cup(Hand& hand, const KDL::Frame& base, const JointPositions& positions) {
  SuctionCup& cup = suction_cups_.at(hand.group->name);
  const Cup lip{base * *kinematics_.link_pose(hand.link, positions)};
  hand.contact = things_.follow(hand.group->name, lip, cup.on && cup.pressure <= kHoldingPressure);
  cup.touches = hand.contact.has_value() || object_widths_.count(hand.group->name) != 0;
}

// Something is between its fingers that they press on when they are told to close.
bool World::is_blocked(const std::string& gripper) const {
  const auto hand =
      std::find_if(hands_.begin(), hands_.end(), [&](const Hand& each) { return each.group->name == gripper; });
  const bool holds = hand != hands_.end() && hand->contact && hand->contact->holds;
  return holds || object_widths_.count(gripper) != 0;
}

bool World::place_thing(const std::string& name, double x, double y, std::optional<double> z, double yaw) {
  const auto is_near = [](double value) { return std::abs(value) <= kFarthest; };
  if (!is_near(x) || !is_near(y) || !is_near(z.value_or(0.0)) || !is_near(yaw)) {
    return false;
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  return things_.place(name, x, y, z, yaw);
}

}  // namespace norvik::simulator
