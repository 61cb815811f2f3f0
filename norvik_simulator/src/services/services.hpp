#pragma once

#include <memory>

#include "ovimux/qos.hpp"
#include "service.hpp"

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
inline constexpr const char* kLeftHandTopics = "/endtool/sharpa_dexhand_L/";
inline constexpr const char* kRightHandTopics = "/endtool/sharpa_dexhand_R/";

std::unique_ptr<Service> make_target_service(Environment& environment);
std::unique_ptr<Service> make_controller_service(Environment& environment);
std::unique_ptr<Service> make_state_service(Environment& environment);
std::unique_ptr<Service> make_odometry_service(Environment& environment);
std::unique_ptr<Service> make_transform_service(Environment& environment);
std::unique_ptr<Service> make_onboard_config_service(Environment& environment);
std::unique_ptr<Service> make_battery_service(Environment& environment);
std::unique_ptr<Service> make_hand_service(Environment& environment);
std::unique_ptr<Service> make_control_service(Environment& environment);

// A late joiner gets the last message.
inline ovimux::Qos latched_qos() {
  ovimux::Qos qos;
  qos.opaque_3 = 5;
  qos.opaque_5 = 5;
  qos.opaque_6 = 1;
  return qos;
}

// The whole-body services carry long trajectories.
inline ovimux::RpcQos large_rpc_qos() {
  ovimux::RpcQos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  return qos;
}

}  // namespace norvik::simulator
