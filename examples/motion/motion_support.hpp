// What the planning examples share: a robot with its planner, and poses and paths to look at.
#pragma once

#include <memory>
#include <tuple>

#include "support.hpp"

namespace examples {

inline const std::vector<std::string> kLeftArm = {groups::kLeftArm};
inline const std::vector<double> kElbowBent = {0.3, -0.4, 0.0, -0.8, 0.0, 0.3, 0.0};  // radians, clear of the body

// The joints of the right arm mirror those of the left one.
inline std::vector<double> mirrored(std::vector<double> joints) {
  for (double& joint : joints) {
    joint = -joint;
  }
  return joints;
}

// Runs an example with the planner: robot and planner are ready, and both arms are bent clear of the body.
inline int run_with_planner(const std::function<bool(NorvikRobot&, NorvikMotion&)>& example) {
  return run([&](NorvikRobot& robot) {
    auto& motion = NorvikMotion::get_instance(model());
    if (!motion.init()) {
      std::cerr << "The robot's planner does not answer.\n";
      return false;
    }
    std::vector<double> both = kElbowBent;
    const std::vector<double> right = mirrored(kElbowBent);
    both.insert(both.end(), right.begin(), right.end());
    return report("Bend the arms",
                  [&] {
                    return robot.set_joint_positions(both, {groups::kLeftArm, groups::kRightArm}, {}, true, 1.0, 15.0);
                  }) &&
           example(robot, motion);
  });
}

// Calls and prints what came of it; true for SUCCESS.
inline bool report_motion(const std::string& what, const std::function<MotionStatus()>& call) {
  CallLog log;
  const MotionStatus status = call();
  std::cout << what << ": " << status << std::endl;
  for (const CallRecord& record : log.records()) {
    std::cout << "  " << record.level << ": " << record.text << std::endl;
  }
  return status == MotionStatus::SUCCESS;
}

// The chain's end effector in the base, as the planner computes it from the joints; empty in failure.
inline std::vector<double> end_effector_pose(NorvikMotion& motion, const std::string& chain) {
  return std::get<1>(motion.forward_kinematics(chain + "_end_effector_mount_link"));
}

inline double distance(const std::vector<double>& pose, const std::vector<double>& other) {
  return pose.size() == 7 && other.size() == 7 ? std::hypot(pose[0] - other[0], pose[1] - other[1], pose[2] - other[2])
                                               : INFINITY;
}

// Whether the arm gets to a pose; a moment for the newest joint states to arrive.
inline bool arrives(NorvikMotion& motion, const std::string& chain, const std::vector<double>& pose) {
  return wait_until([&] { return distance(end_effector_pose(motion, chain), pose) < 0.005; }, 2.0);
}

inline std::shared_ptr<PoseState> pose_target(const std::string& chain, const std::vector<double>& pose) {
  auto target = std::make_shared<PoseState>();
  target->chain = chain;
  target->reference_frame = "base_link";
  target->pose = {pose[0], pose[1], pose[2], pose[3], pose[4], pose[5], pose[6]};
  return target;
}

inline std::shared_ptr<JointStates> joint_target(const std::string& chain, const std::vector<double>& joints) {
  auto target = std::make_shared<JointStates>();
  target->chain = chain;
  target->joint_positions = joints;
  return target;
}

// Options of a motion that the planner carries out at once.
inline std::shared_ptr<Parameter> at_once() {
  auto parameter = std::make_shared<Parameter>();
  parameter->immediate_execute = true;
  return parameter;
}

}  // namespace examples
