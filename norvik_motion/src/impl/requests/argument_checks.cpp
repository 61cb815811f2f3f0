#include "impl/requests/argument_checks.hpp"

#include "sdk_log.hpp"

namespace norvik::sdk {

bool check_timeout(double timeout_s) {
  if (timeout_s > 0.0) {
    return true;
  }
  SDK_LOG(error) << "invalid [timeout_second] value, must be positive.";
  return false;
}

bool check_reference(const std::shared_ptr<RobotStates>& reference) {
  if (!reference || reference->get_type() == kRobotKind) {
    return true;
  }
  SDK_LOG(error) << "invalid [reference_robot_states] type, only support ROBOT_STATES type, for whole body joint.";
  return false;
}

bool check_pose_size(const std::vector<double>& pose) {
  if (pose.size() == kPoseSize) {
    return true;
  }
  SDK_LOG(error) << "cartesian pose size must be 7.";
  return false;
}

std::shared_ptr<JointStates> as_joint_states(const std::shared_ptr<RobotStates>& state) {
  return state && state->get_type() == kJointKind ? std::dynamic_pointer_cast<JointStates>(state) : nullptr;
}

}  // namespace norvik::sdk
