#include "impl/norvik_robot_r5.hpp"

#include <utility>

#include <norvik_sdk/version.hpp>

#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/controllers/controller_manager.hpp"
#include "impl/wbc/joints/joint_manager_r5.hpp"
#include "impl/wbc/targets/target_proto_builder.hpp"
#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::r5 {

namespace {

constexpr double kTimeOfFirstReportS = 2.0;

}  // namespace

// Defines an operation that this model does not have: it warns and gives `result`.
#define NORVIK_R5_UNSUPPORTED(type, operation, parameters, result) \
  type NorvikRobotR5::operation parameters {                       \
    SDK_LOG(warning) << #operation " is not supported yet (R5)";   \
    return result;                                                 \
  }

NORVIK_R5_UNSUPPORTED(bool, write_audio_stream_output, (const std::string&, const std::string&), false)
NORVIK_R5_UNSUPPORTED(void, stop_audio_stream_output, (const std::string&), void())
NORVIK_R5_UNSUPPORTED(float, get_volume, (), 0.0F)
NORVIK_R5_UNSUPPORTED(ControlStatus, set_suction_cup_command, (const std::string&, bool), ControlStatus::INVALID_INPUT)
NORVIK_R5_UNSUPPORTED(bool, set_volume, (float), false)
NORVIK_R5_UNSUPPORTED(void, stop_microphone_stream_input, (const std::string&), void())
NORVIK_R5_UNSUPPORTED(std::shared_ptr<SuctionCupState>, get_suction_cup_state, (const std::string&), nullptr)
NORVIK_R5_UNSUPPORTED(std::shared_ptr<UltrasonicData>, get_ultrasonic_data, (UltrasonicType), nullptr)
NORVIK_R5_UNSUPPORTED(std::shared_ptr<ForceData>, get_force_sensor_data, (NorvikOneTangoSensor), nullptr)
NORVIK_R5_UNSUPPORTED(std::shared_ptr<BmsInfo>, get_bms_information, (), nullptr)
NORVIK_R5_UNSUPPORTED(std::string, start_microphone_stream_input,
                      (std::function<void(std::shared_ptr<AudioData>)>, int, bool), {})

#undef NORVIK_R5_UNSUPPORTED

bool NorvikRobotR5::init(const std::set<SensorType>& sensors, bool enable_sync) {
  open_internal_log("r5");
  notify_new_sdk_version_if_any_async();
  SDK_LOG(info) << "NorvikRobotR5 init " << NORVIK_SDK_VERSION;
  expect_robot_model(MachineType::R5);
  return sensor_base_init(sensors, MachineType::R5, enable_sync) && system_base_init() && wbc_base_init();
}

std::shared_ptr<JointManager> NorvikRobotR5::create_joint_manager() {
  sleep_for_seconds(kTimeOfFirstReportS);
  const auto device = get_device_information();
  std::string hardware_version;
  if (device) {
    hardware_version = device->hardware_version;
    SDK_LOG(info) << "NorvikRobotR5 create joint manager with hardware_version: "
                  << (hardware_version.empty() ? "empty" : hardware_version);
  } else {
    SDK_LOG(warning) << "NorvikRobotR5 create joint manager without device information, hardware_version is empty";
  }
  return JointManagerR5::Create(hardware_version);
}

std::shared_ptr<ControllerManager> NorvikRobotR5::create_controller_manager(std::shared_ptr<CommonUtils> common_utils) {
  return ControllerManagerR5::Create(std::move(common_utils));
}

std::shared_ptr<TargetProtoBuilder> NorvikRobotR5::create_target_proto_builder(
    std::shared_ptr<JointManager> joint_manager) {
  return TargetProtoBuilderR5::Create(std::move(joint_manager));
}

}  // namespace norvik::sdk::r5
