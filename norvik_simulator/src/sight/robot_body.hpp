#pragma once

#include <vector>
#include <kdl/frames.hpp>

#include "model/kinematics.hpp"
#include "model/robot_model.hpp"

namespace norvik::simulator {

// The robot's body for a Scene: the pieces of its URDF, and where its joints put them. Both fingers of a gripper are
// there, though the URDF has but one. Immutable, but refers to the kinematics.
class RobotBody {
 public:
  RobotBody(const RobotModel& robot, const Kinematics& kinematics);

  const std::vector<BodyPart>& parts() const { return parts_; }
  // On the map, one for each part, for a robot whose root link is at `base`.
  std::vector<KDL::Frame> poses(const KDL::Frame& base, const JointPositions& positions) const;

 private:
  const Kinematics& kinematics_;
  std::vector<BodyPart> parts_;
  struct Finger {
    std::string joint;
    std::string link;
    size_t mirrored;  // From this part on they are the second finger's.
  };
  KDL::Frame second_finger(const Finger& finger, const JointPositions& positions, const KDL::Frame& pose) const;
  std::vector<Finger> fingers_;
};

}  // namespace norvik::simulator
