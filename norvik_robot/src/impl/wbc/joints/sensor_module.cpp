#include "impl/wbc/joints/sensor_module.hpp"

#include <algorithm>
#include <utility>
#include <vector>

#include "impl/common/proto_time.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

// Keys of effort_sensor_map, by NorvikOneTangoSensor.
constexpr const char* kForceSensorKeys[] = {"left_effort", "right_effort"};

// As the controller tells it, without the change of units that the IMU topics need.
void convert_imu_data(const sensor_proto::ImuSensor& sensor, ImuData& imu) {
  imu.accel_x = sensor.accel().x();
  imu.accel_y = sensor.accel().y();
  imu.accel_z = sensor.accel().z();
  imu.gyro_x = sensor.gyro().x();
  imu.gyro_y = sensor.gyro().y();
  imu.gyro_z = sensor.gyro().z();
  imu.magnet_x = sensor.magnet().x();
  imu.magnet_y = sensor.magnet().y();
  imu.magnet_z = sensor.magnet().z();
}

void convert_force_data(const sensor_proto::EffortSensor& sensor, ForceData& force) {
  force.force_x = sensor.force().x();
  force.force_y = sensor.force().y();
  force.force_z = sensor.force().z();
  force.torque_x = sensor.torque().x();
  force.torque_y = sensor.torque().y();
  force.torque_z = sensor.torque().z();
}

bool holds_joints(const sensor_proto::JointSensor& sensor, int joint_num) {
  return std::min({sensor.position_size(), sensor.velocity_size(), sensor.effort_size(), sensor.current_size()}) >=
         joint_num;
}

void convert_joint_states(const sensor_proto::JointSensor& sensor, const std::vector<std::string>& joint_names,
                          int joint_num, JointStateMessage& out) {
  out.joint_states.clear();
  out.joint_states.reserve(joint_num);
  for (int i = 0; i < joint_num; ++i) {
    constexpr double kNoAcceleration = 0.0;
    JointState& joint = out.joint_states.emplace_back(sensor.position(i), sensor.velocity(i), kNoAcceleration,
                                                      sensor.effort(i), sensor.current(i), out.timestamp_ns);
    joint.name = joint_names[i];
  }
}

}  // namespace

SensorModule::SensorModule(std::shared_ptr<CommonUtils> common_utils, std::shared_ptr<JointManager> joint_manager)
    : common_utils_(std::move(common_utils)),
      joint_manager_(std::move(joint_manager)),
      imu_names_{{SensorType::TORSO_IMU, "torso_imu"}} {}

void SensorModule::sensor_callback(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& sensor) {
  if (sensor == nullptr) {
    SDK_LOG(error) << "sensor callback message is nullptr";
    return;
  }
  sensor_buffer_.set_data(sensor);
}

std::shared_ptr<tavrinox_proto::TavrinoXSensor> SensorModule::get_sensor_data() const {
  return sensor_buffer_.get_data();
}

std::shared_ptr<ForceData> SensorModule::get_force_sensor_data(NorvikOneTangoSensor sensor) const {
  const auto index = static_cast<uint32_t>(sensor);
  if (index >= std::size(kForceSensorKeys)) {
    SDK_LOG(error) << "get_force_sensor_data invalid input";
    return nullptr;
  }
  const auto report = get_sensor_data();
  if (report == nullptr || report->effort_sensor_map().count(kForceSensorKeys[index]) == 0) {
    SDK_LOG(error) << "get_force_sensor_data data fetch failed";
    return nullptr;
  }
  auto force = std::make_shared<ForceData>();
  force->timestamp_ns = header_time_ns_integer(report->header());
  convert_force_data(report->effort_sensor_map().at(kForceSensorKeys[index]), *force);
  SDK_LOG(info) << "get_force_sensor_data success";
  return force;
}

std::shared_ptr<ImuData> SensorModule::get_imu_data(SensorType type) const {
  const auto name = imu_names_.find(type);
  if (name == imu_names_.end()) {
    SDK_LOG(error) << "imu_type invalid , input imu_type is " << static_cast<int32_t>(type);
    return nullptr;
  }
  const auto report = get_sensor_data();
  if (report == nullptr || report->imu_sensor_map().count(name->second) == 0) {
    SDK_LOG(error) << "get_imu_data fetch failed";
    return nullptr;
  }
  auto imu = std::make_shared<ImuData>();
  imu->timestamp_ns = header_time_ns_integer(report->header());
  convert_imu_data(report->imu_sensor_map().at(name->second), *imu);
  return imu;
}

ControlStatus SensorModule::get_joint_state_from_sensor(const std::string& group, JointStateMessage& out) const {
  int joint_num = 0;
  if (!joint_manager_->try_get_joint_num(group, joint_num)) {
    SDK_LOG(error) << "get_joint_state_from_sensor invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  const auto report = get_sensor_data();
  if (report == nullptr || report->joint_sensor_map().count(group) == 0 ||
      !holds_joints(report->joint_sensor_map().at(group), joint_num)) {
    SDK_LOG(error) << "get_joint_state_from_sensor fetch failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  const auto joint_names = joint_manager_->joint_names_of(group);
  if (!joint_names || joint_names->size() < static_cast<std::size_t>(joint_num)) {
    SDK_LOG(error) << "get_joint_state_from_sensor joint names fetch failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  out.timestamp_ns = header_time_ns_float(report->header());
  convert_joint_states(report->joint_sensor_map().at(group), *joint_names, joint_num, out);
  return ControlStatus::SUCCESS;
}

}  // namespace norvik::sdk
