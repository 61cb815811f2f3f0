#include "sight/robot_body.hpp"

#include <algorithm>
#include <map>

namespace norvik::simulator {

RobotBody::RobotBody(const RobotModel& robot, const Kinematics& kinematics)
    : kinematics_(kinematics), parts_(kinematics.body()) {
  for (const GroupModel& group : robot.groups) {
    if (group.kind != GroupKind::kGripper) {
      continue;
    }
    const Finger finger{group.joints[0], kinematics.link_of(group.joints[0]), parts_.size()};
    for (const BodyPart& part : kinematics.body()) {
      if (part.link == finger.link) {
        parts_.push_back(part);
      }
    }
    fingers_.push_back(finger);
  }
}

std::vector<KDL::Frame> RobotBody::poses(const KDL::Frame& base, const JointPositions& positions) const {
  // The finger that the joint moves goes half of the way, the other one the other half.
  JointPositions halved = positions;
  for (const Finger& finger : fingers_) {
    halved[finger.joint] /= 2.0;
  }
  std::map<std::string, KDL::Frame> links;
  std::vector<KDL::Frame> poses;
  for (const BodyPart& part : parts_) {
    auto link = links.find(part.link);
    if (link == links.end()) {
      link = links.emplace(part.link, *kinematics_.link_pose(part.link, halved)).first;
    }
    const size_t index = poses.size();
    const auto finger = std::find_if(fingers_.rbegin(), fingers_.rend(), [&](const Finger& each) {
      return each.link == part.link && index >= each.mirrored;
    });
    const bool is_second = finger != fingers_.rend();
    poses.push_back(base * (is_second ? second_finger(*finger, halved, link->second) : link->second) * part.pose);
  }
  return poses;
}

// Half a turn about the approach axis of the closed fingers puts one finger where the other is.
KDL::Frame RobotBody::second_finger(const Finger& finger, const JointPositions& positions,
                                    const KDL::Frame& pose) const {
  JointPositions closed_positions = positions;
  closed_positions[finger.joint] = 0.0;
  const KDL::Frame closed = *kinematics_.link_pose(finger.link, closed_positions);
  return closed * KDL::Frame(KDL::Rotation::RotZ(M_PI)) * closed.Inverse() * pose;
}

}  // namespace norvik::simulator
