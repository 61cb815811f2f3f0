#pragma once

#include <memory>
#include <string>
#include <unordered_map>

#include <norvik_sdk/types.hpp>

#include "data_buffer.hpp"
#include "impl/wbc/common/common_utils.hpp"
#include "impl/wbc/joints/joint_manager.hpp"
#include "norvik/tavrinox_proto/tavrinox_sensor.pb.h"

namespace norvik::sdk {

// Keeps the controller's latest sensor report and answers from it: wrist force sensors, the torso IMU, and the joints
// that are reported only there. The report never ages; staleness shows in its timestamp. Safe from any thread.
class SensorModule {
 public:
  SensorModule(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager);

  void sensor_callback(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& sensor);

  // Empty until the first report.
  std::shared_ptr<tavrinox_proto::TavrinoXSensor> get_sensor_data() const;

  // Empty for an unknown sensor and for one that is not reported.
  std::shared_ptr<ForceData> get_force_sensor_data(NorvikOneTangoSensor sensor) const;
  std::shared_ptr<ImuData> get_imu_data(SensorType type) const;

  // State of a group in the units of the sensor report, named by the model's table.
  ControlStatus get_joint_state_from_sensor(const std::string& group, JointStateMessage& out) const;

 private:
  std::shared_ptr<CommonUtils> common_utils_;
  std::shared_ptr<JointManager> joint_manager_;
  DataBuffer<tavrinox_proto::TavrinoXSensor> sensor_buffer_;
  const std::unordered_map<SensorType, std::string> imu_names_;
};

}  // namespace norvik::sdk
