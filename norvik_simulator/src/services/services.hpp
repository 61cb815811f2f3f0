#pragma once

#include <memory>

#include "ovimux/qos.hpp"
#include "wire/environment.hpp"
#include "wire/service.hpp"

namespace norvik::simulator {

inline constexpr const char* kTargetTopic = "tavrinox/wbcs/target";
inline constexpr const char* kTargetService = "tavrinox/wbcs/target_server";
inline constexpr const char* kControllerService = "tavrinox/wbcs/controller_server";
inline constexpr const char* kErrorTopic = "tavrinox/wbcs/error";
inline constexpr const char* kInfoTopic = "tavrinox/wbcs/wbc_info";
inline constexpr const char* kSensorTopic = "tavrinox/wbcs/sensor";
inline constexpr const char* kOdometryTopic = "/odom/base_link";
inline constexpr const char* kTransformTopic = "/ovimux_tf";
inline constexpr const char* kStaticTransformTopic = "/ovimux_tf_static";
inline constexpr const char* kOnboardConfigTopic = "/norvik/mission_manager/onboard_config";
inline constexpr const char* kBatteryTopic = "bms";
inline constexpr const char* kLeftCameraParameterTopic = "/cam_arm_l/meta_data/params";
inline constexpr const char* kRightCameraParameterTopic = "/cam_arm_r/meta_data/params";
inline constexpr const char* kUltrasonicTopic = "base_ultra";
inline constexpr const char* kPerceptionService = "/norvik_perception/command";
inline constexpr const char* kPerceptionStatusTopic = "/norvik_perception/status";
inline constexpr const char* kPlanService = "/norvik/pns/navigation_plan";
inline constexpr const char* kPlanV2Service = "/norvik/pns/navigation_plan_v2";
inline constexpr const char* kNavigationConfigService = "/norvik/pns/get_set_config";
inline constexpr const char* kNavigationStatusTopic = "/norvik/pns/navigation_status";
inline constexpr const char* kNavigationServiceTopic = "/norvik/pns/status";
inline constexpr const char* kEvaluationTopic = "/norvik/pns/evaluate_goal_availability";
inline constexpr const char* kInitialPoseTopic = "/norvik/mes/initial_pose";
inline constexpr const char* kLocalisationScoreTopic = "/norvik/mes/localization_score";
inline constexpr const char* kGlobalPoseTopic = "/norvik/mes/global_pose";
inline constexpr const char* kAddBoxService = "norvik_fusion_add_box";
inline constexpr const char* kRemoveBoxService = "norvik_fusion_remove_box";
inline constexpr const char* kGetBoxService = "norvik_fusion_get_box";
inline constexpr const char* kMicrophoneTopic = "/norvik/mic";
inline constexpr const char* kSpeakerTopic = "/norvik/spk";
inline constexpr const char* kPlannerService = "motion_planning_service";
inline constexpr const char* kPlannerDataService = "motion_planning_service/get_data";
inline constexpr const char* kPlannerKinematicService = "motion_planning_service/kinematic";
inline constexpr const char* kPlannerStatusTopic = "motion_planning_service/status";
inline constexpr const char* kLeftHandTopics = "/endtool/sharpa_dexhand_L/";
inline constexpr const char* kRightHandTopics = "/endtool/sharpa_dexhand_R/";

std::unique_ptr<Service> make_target_service(Environment& environment);
std::unique_ptr<Service> make_controller_service(Environment& environment);
std::unique_ptr<Service> make_state_service(Environment& environment);
std::unique_ptr<Service> make_odometry_service(Environment& environment);
std::unique_ptr<Service> make_transform_service(Environment& environment);
std::unique_ptr<Service> make_onboard_config_service(Environment& environment);
std::unique_ptr<Service> make_battery_service(Environment& environment);
std::unique_ptr<Service> make_camera_service(Environment& environment);
std::unique_ptr<Service> make_surround_camera_service(Environment& environment);
std::unique_ptr<Service> make_camera_parameter_service(Environment& environment);
std::unique_ptr<Service> make_lidar_service(Environment& environment);
std::unique_ptr<Service> make_imu_service(Environment& environment);
std::unique_ptr<Service> make_ultrasonic_service(Environment& environment);
std::unique_ptr<Service> make_audio_service(Environment& environment);
std::unique_ptr<Service> make_hand_service(Environment& environment);
std::unique_ptr<Service> make_planning_service(Environment& environment);
std::unique_ptr<Service> make_perception_service(Environment& environment);
std::unique_ptr<Service> make_observer_service(Environment& environment);
std::unique_ptr<Service> make_plan_service(Environment& environment);
std::unique_ptr<Service> make_navigation_config_service(Environment& environment);
std::unique_ptr<Service> make_box_service(Environment& environment);
std::unique_ptr<Service> make_localisation_service(Environment& environment);
std::unique_ptr<Service> make_control_service(Environment& environment);

// A late joiner gets the last message.
inline ovimux::Qos latched_qos() {
  ovimux::Qos qos;
  qos.opaque_3 = 5;
  qos.opaque_5 = 5;
  qos.opaque_6 = 1;
  return qos;
}

// Pictures, clouds and what comes with them do not fit the small envelope.
inline ovimux::Qos stream_qos() {
  ovimux::Qos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  return qos;
}

// A late joiner gets the camera's mode.
inline ovimux::Qos parameter_qos() {
  ovimux::Qos qos;
  qos.opaque_3 = 1;
  return qos;
}

// The whole-body services carry long trajectories.
inline ovimux::RpcQos large_rpc_qos() {
  ovimux::RpcQos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  return qos;
}

}  // namespace norvik::simulator
