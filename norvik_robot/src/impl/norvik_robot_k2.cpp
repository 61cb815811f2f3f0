#include "impl/norvik_robot_k2.hpp"

#include <utility>

#include <norvik_sdk/version.hpp>

#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/joints/joint_manager_k2.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::k2 {

bool NorvikRobotK2::init(const std::set<SensorType>& sensors, bool enable_sync) {
  open_internal_log("k2");
  notify_new_sdk_version_if_any_async();
  SDK_LOG(info) << "NorvikRobotK2 init " << NORVIK_SDK_VERSION;
  expect_robot_model(MachineType::K2);
  return sensor_base_init(sensors, MachineType::K2, enable_sync) && system_base_init() && wbc_base_init() &&
         audio_base_init();
}

std::shared_ptr<ImuData> NorvikRobotK2::get_imu_data(SensorType sensor) {
  return sensor == SensorType::TORSO_IMU ? get_imu_data_from_wbc_sensor_module(sensor)
                                         : get_imu_data_from_topic(sensor);
}

std::shared_ptr<JointManager> NorvikRobotK2::create_joint_manager() { return JointManagerK2::Create(); }

std::shared_ptr<ControllerManager> NorvikRobotK2::create_controller_manager(std::shared_ptr<CommonUtils> common_utils) {
  return ControllerManagerK2::Create(std::move(common_utils));
}

std::shared_ptr<TargetProtoBuilder> NorvikRobotK2::create_target_proto_builder(
    std::shared_ptr<JointManager> joint_manager) {
  return TargetProtoBuilderK2::Create(std::move(joint_manager));
}

}  // namespace norvik::sdk::k2
