#include "model/robot_model.hpp"

#include <algorithm>

namespace norvik::simulator {

namespace {

using Names = std::vector<std::string>;

Names numbered(const std::string& prefix, int count) {
  Names names;
  for (int i = 1; i <= count; ++i) {
    names.push_back(prefix + std::to_string(i));
  }
  return names;
}

struct HandModel {
  const char* name;
  JointLimits limits;
  Names (*joints)(const std::string& group);
};

Names six_joints(const std::string& group) { return numbered(group + "_joint", 6); }

Names linker_joints(const std::string& group) {
  static const char* const kJoints[] = {
      "thumb_roll",  "thumb_yaw", "index_yaw",   "middle_yaw", "ring_yaw",  "little_yaw", "thumb_root", "index_root",
      "middle_root", "ring_root", "little_root", "thumb_tip",  "index_tip", "middle_tip", "ring_tip",   "little_tip"};
  Names names;
  for (const char* joint : kJoints) {
    names.push_back(group + "_" + joint);
  }
  return names;
}

Names no_joints(const std::string&) { return {}; }

// A Sharpa hand has topics of its own; the whole-body controller does not see its joints.
const std::vector<HandModel>& hand_models() {
  static const std::vector<HandModel> kHands = {
      {"inspire", {0.0, 1000.0, 2000.0}, six_joints},
      {"brainco", {0.0, 100.0, 200.0}, six_joints},
      {"linker_l20", {-180.0, 180.0, 360.0}, linker_joints},
      {"sharpa", {-180.0, 180.0, 360.0}, no_joints},
  };
  return kHands;
}

template <typename T>
void append(std::vector<T>& list, const std::vector<T>& more) {
  list.insert(list.end(), more.begin(), more.end());
}

std::vector<GroupModel> arms_and_head() {
  return {{"head", GroupKind::kBody, numbered("head_joint", 2)},
          {"left_arm", GroupKind::kBody, numbered("left_arm_joint", 7)},
          {"right_arm", GroupKind::kBody, numbered("right_arm_joint", 7)}};
}

std::vector<GroupModel> grippers() {
  return {{"left_gripper", GroupKind::kGripper, {"left_gripper_joint1"}},
          {"right_gripper", GroupKind::kGripper, {"right_gripper_joint1"}}};
}

RobotModel make_k2(const HandModel& hand) {
  RobotModel robot;
  robot.name = "K2";
  robot.urdf_file = "k2.urdf";
  robot.chassis_group = "chassis";
  robot.groups = {{"chassis", GroupKind::kChassis, numbered("chassis_joint", 4)}};
  append(robot.groups, arms_and_head());
  robot.groups.push_back({"leg", GroupKind::kBody, numbered("leg_joint", 5)});
  append(robot.groups, grippers());
  for (const std::string side : {"left", "right"}) {
    const std::string group = side + "_suction_cup";
    robot.groups.push_back({group, GroupKind::kSuctionCup, {group + "_joint1"}});
  }
  for (const std::string side : {"left", "right"}) {
    const std::string group = side + "_dexhand";
    robot.groups.push_back({group, GroupKind::kHand, hand.joints(group)});
  }
  robot.controllers = {
      {"chassis_pose_ctrl", "chassis", 0},
      {"chassis_twist_ctrl", "chassis", 1},
      {"leg_pvt_ctrl", "leg", 1},
      {"leg_pvt_bypass_ctrl", "leg", 0, true},
      {"head_pvt_ctrl", "head", 1},
      {"head_pvt_bypass_ctrl", "head", 0, true},
      {"left_arm_pvt_ctrl", "left_arm", 1},
      {"left_arm_pvt_bypass_ctrl", "left_arm", 0, true},
      {"right_arm_pvt_ctrl", "right_arm", 1},
      {"right_arm_pvt_bypass_ctrl", "right_arm", 0, true},
      {"left_gripper_ctrl", "left_gripper", 0},
      {"right_gripper_ctrl", "right_gripper", 0},
  };
  return robot;
}

Names wheel_names(bool first_revision) {
  Names names;
  for (int i = 1; i <= 4; ++i) {
    const std::string number = std::to_string(i);
    if (first_revision) {
      append(names, {"Wheel_" + number + "_direction_joint", "Wheel_" + number + "_drive_joint"});
    } else {
      append(names, {"wheel_steering_joint" + number, "wheel_driving_joint" + number});
    }
  }
  return names;
}

// The first hardware revision names its wheels and its lift differently.
RobotModel make_r5(bool first_revision) {
  const std::string lift = first_revision ? "torso_base_joint" : "torso_lift_joint1";
  const Names wheels = wheel_names(first_revision);

  RobotModel robot;
  robot.name = "R5";
  robot.urdf_file = "r5.urdf";
  robot.chassis_group = "swerve_chassis";
  robot.groups = {{"swerve_chassis", GroupKind::kChassis, wheels}, {"torso", GroupKind::kBody, {lift}}};
  append(robot.groups, arms_and_head());
  append(robot.groups, grippers());
  robot.groups.push_back({"left_camera", GroupKind::kCamera, {}});
  robot.groups.push_back({"right_camera", GroupKind::kCamera, {}});
  robot.controllers = {
      {"swerve_chassis_pose_ctrl", "swerve_chassis", 0},
      {"swerve_chassis_twist_ctrl", "swerve_chassis", 1},
      {"elevator_ctrl", "torso", 0},
      {"head_pvt_ctrl", "head", 1},
      {"left_arm_pvt_ctrl", "left_arm", 0},
      {"right_arm_pvt_ctrl", "right_arm", 0},
      {"left_gripper_ctrl", "left_gripper", 0},
      {"right_gripper_ctrl", "right_gripper", 0},
      {"left_camera_ctrl", "left_camera", 0},
      {"right_camera_ctrl", "right_camera", 0},
  };
  if (first_revision) {
    robot.urdf_to_wire_joint["torso_lift_joint1"] = lift;
    const Names urdf_wheels = wheel_names(false);
    for (size_t i = 0; i < wheels.size(); ++i) {
      robot.urdf_to_wire_joint[urdf_wheels[i]] = wheels[i];
    }
  }
  return robot;
}

}  // namespace

const GroupModel* RobotModel::find_group(const std::string& group) const {
  const auto it = std::find_if(groups.begin(), groups.end(), [&](const GroupModel& g) { return g.name == group; });
  return it == groups.end() ? nullptr : &*it;
}

std::vector<std::string> supported_models() { return {"k2", "r5"}; }

std::vector<std::string> supported_hands() {
  Names names;
  for (const HandModel& hand : hand_models()) {
    names.emplace_back(hand.name);
  }
  return names;
}

std::optional<RobotModel> make_robot_model(const RobotOptions& options) {
  const auto& hands = hand_models();
  const auto hand = std::find_if(hands.begin(), hands.end(), [&](const auto& h) { return options.hand == h.name; });
  const Names models = supported_models();
  if (hand == hands.end() || std::find(models.begin(), models.end(), options.model) == models.end()) {
    return std::nullopt;
  }
  const bool first_revision = options.hardware_version.rfind("1.", 0) == 0;
  RobotModel robot = options.model == "k2" ? make_k2(*hand) : make_r5(first_revision);
  robot.hand_limits = hand->limits;
  robot.hardware_version = options.hardware_version;
  return robot;
}

}  // namespace norvik::simulator
