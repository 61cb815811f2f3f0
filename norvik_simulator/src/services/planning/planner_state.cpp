#include "services/planning/planner_state.hpp"

namespace norvik::simulator {

planning::RobotState robot_now(const World& world, const planning::PlanningModel& model) {
  const WorldState state = world.state();
  const JointPositions positions = state.positions();
  planning::RobotState now{planning::Joints(model.dof(), 0.0), {}};
  for (size_t i = 0; i < now.joints.size(); ++i) {
    if (const auto joint = positions.find(model.joint(i).name); joint != positions.end()) {
      now.joints[i] = joint->second;
    }
  }
  const PlanarPose base = state.believed_pose();
  now.base = KDL::Frame(KDL::Rotation::RotZ(base.yaw), KDL::Vector(base.x, base.y, 0.0));
  return now;
}

}  // namespace norvik::simulator
