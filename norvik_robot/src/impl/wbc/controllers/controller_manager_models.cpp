#include <utility>

#include "impl/wbc/controllers/controller_manager.hpp"

namespace norvik::sdk {

ControllerManagerK2::ControllerManagerK2(std::shared_ptr<CommonUtils> common_utils)
    : ControllerManager(std::move(common_utils)) {
  init_route_maps(routes());
}

std::shared_ptr<ControllerManager> ControllerManagerK2::Create(std::shared_ptr<CommonUtils> common_utils) {
  return std::shared_ptr<ControllerManager>(new ControllerManagerK2(std::move(common_utils)));
}

const std::vector<ControllerManager::CtrlRoute>& ControllerManagerK2::routes() {
  static const std::vector<CtrlRoute> kRoutes = {
      {"chassis_pose_ctrl", "chassis", 0},
      {"chassis_twist_ctrl", "chassis", 1},
      {"leg_pvt_ctrl", "leg", 1},
      {"leg_pvt_bypass_ctrl", "leg", 0},
      {"head_pvt_ctrl", "head", 1},
      {"head_pvt_bypass_ctrl", "head", 0},
      {"left_arm_pvt_ctrl", "left_arm", 1},
      {"left_arm_pvt_bypass_ctrl", "left_arm", 0},
      {"right_arm_pvt_ctrl", "right_arm", 1},
      {"right_arm_pvt_bypass_ctrl", "right_arm", 0},
      {"left_gripper_ctrl", "left_gripper", 0},
      {"right_gripper_ctrl", "right_gripper", 0},
  };
  return kRoutes;
}

// The suction cups have no route: they can be started, stopped, reloaded and released, but not switched.
const std::unordered_set<std::string>& ControllerManagerK2::supported_group_names() const {
  static const std::unordered_set<std::string> kGroups = {
      "chassis",           "leg", "head", "left_arm", "right_arm", "left_gripper", "right_gripper", "left_suction_cup",
      "right_suction_cup",
  };
  return kGroups;
}

const std::string& ControllerManagerK2::get_chassis_group_name_impl() const {
  static const std::string kName = "chassis";
  return kName;
}

const std::string& ControllerManagerK2::get_chassis_twist_controller_name_impl() const {
  static const std::string kName = "chassis_twist_ctrl";
  return kName;
}

const std::string& ControllerManagerK2::get_chassis_pose_controller_name_impl() const {
  static const std::string kName = "chassis_pose_ctrl";
  return kName;
}

ControllerManagerR5::ControllerManagerR5(std::shared_ptr<CommonUtils> common_utils)
    : ControllerManager(std::move(common_utils)) {
  init_route_maps(routes());
}

std::shared_ptr<ControllerManager> ControllerManagerR5::Create(std::shared_ptr<CommonUtils> common_utils) {
  return std::shared_ptr<ControllerManager>(new ControllerManagerR5(std::move(common_utils)));
}

// The arms have only their "pvt" controller here, with id 0, while the head keeps id 1.
const std::vector<ControllerManager::CtrlRoute>& ControllerManagerR5::routes() {
  static const std::vector<CtrlRoute> kRoutes = {
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
  return kRoutes;
}

const std::unordered_set<std::string>& ControllerManagerR5::supported_group_names() const {
  static const std::unordered_set<std::string> kGroups = {
      "swerve_chassis", "torso",         "head",        "left_arm",     "right_arm",
      "left_gripper",   "right_gripper", "left_camera", "right_camera",
  };
  return kGroups;
}

const std::string& ControllerManagerR5::get_chassis_group_name_impl() const {
  static const std::string kName = "swerve_chassis";
  return kName;
}

const std::string& ControllerManagerR5::get_chassis_twist_controller_name_impl() const {
  static const std::string kName = "swerve_chassis_twist_ctrl";
  return kName;
}

const std::string& ControllerManagerR5::get_chassis_pose_controller_name_impl() const {
  static const std::string kName = "swerve_chassis_pose_ctrl";
  return kName;
}

}  // namespace norvik::sdk
