// Opens the channels of SensorBase.
#include "impl/common/log_created.hpp"
#include "impl/sensor_base.hpp"
#include "ovimux/node.hpp"

namespace norvik::sdk {
namespace {

using ovimux::Qos;
using sensor_proto::ImuSensor;

// Images, point clouds and IMU data: the large envelope.
Qos stream_qos() {
  Qos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  return qos;
}

// An IMU sends a hundred small samples a second and more: the few that are kept of pictures would be 80 ms of them.
Qos imu_qos(const ImuChannel& imu) {
  constexpr int32_t kDepth = 300;
  Qos qos = imu.is_stream ? stream_qos() : Qos();
  qos.opaque_26 = kDepth;
  return qos;
}

// Parameters of the arm cameras: a late joiner gets the last value.
Qos params_qos() {
  Qos qos;
  qos.opaque_3 = 1;
  return qos;
}

bool is_arm_camera(SensorType sensor) {
  return sensor >= SensorType::LEFT_ARM_CAMERA && sensor <= SensorType::RIGHT_ARM_DEPTH_CAMERA;
}

std::string sensor_reader_text(const char* topic, const char* outcome) {
  return std::string("create robot_sensor_reader ") + topic + outcome;
}

// A failure of an arm camera's channel does not name its topic.
std::string camera_failure_text(const CameraChannel& camera, const char* topic) {
  return is_arm_camera(camera.sensor) ? "create robot_sensor_reader fail." : sensor_reader_text(topic, " fail.");
}

template <typename Buffers, typename Keys>
void create_buffers_of(Buffers& buffers, const Keys& keys) {
  for (const auto key : keys) {
    buffers[key] = std::make_unique<typename Buffers::mapped_type::element_type>();
  }
}

}  // namespace

bool SensorBase::open_channels(const std::set<SensorType>& sensors) {
  families_ = sensor_families(machine_type_);
  enabled_sensors_ = sensors;
  node_ = ovimux::CreateNode("sensor_sdk_node", "");
  if (!SDK_LOG_CREATED(node_, "wbc_node create success", "wbc_node create fail")) {
    return false;
  }
  create_buffers();  // Before the parameter readers: their callbacks open infrared channels at once.
  open_param_readers();
  if (!open_lidar_readers() || !open_imu_readers() || !open_ultrasonic_reader() || !open_camera_readers()) {
    return false;
  }
  SDK_LOG(info) << "sensor interface init success";
  return true;
}

void SensorBase::create_buffers() {
  create_buffers_of(rgb_buffers_, families_.rgb);
  create_buffers_of(depth_buffers_, families_.depth);
  create_buffers_of(lidar_buffers_, families_.lidar);
  create_buffers_of(imu_buffers_, families_.imu);
  create_buffers_of(ir_buffers_, families_.ir);
  create_buffers_of(camera_info_buffers_, families_.rgb);
  create_buffers_of(camera_info_buffers_, families_.depth);
  create_buffers_of(camera_info_buffers_, families_.ir);
  if (is_enabled(SensorType::BASE_ULTRASONIC)) {
    for (const auto& [type, key] : ultrasonic_keys()) {
      ultrasonic_buffers_[type] = std::make_unique<DataBuffer<UltrasonicData>>();
    }
  }
}

void SensorBase::open_param_readers() {
  for (const auto& arm_camera : arm_camera_channels()) {
    param_readers_.push_back(node_->CreateReader<core_proto::StringValue>(
        arm_camera.param_topic,
        [this, &arm_camera](const std::shared_ptr<core_proto::StringValue>& message, const void*) {
          arm_camera_param_callback(arm_camera, message);
        },
        params_qos()));
    if (!param_readers_.back()) {
      SDK_LOG(error) << sensor_reader_text(arm_camera.param_topic, " fail.");
    }
    // Written in either case.
    SDK_LOG(info) << sensor_reader_text(arm_camera.param_topic, " success.");
  }
}

bool SensorBase::open_lidar_readers() {
  for (const auto& lidar : lidar_channels()) {
    if (!is_enabled(lidar.sensor)) {
      continue;
    }
    readers_.push_back(node_->CreateReader<CloudSample>(
        lidar.topic,
        [this, sensor = lidar.sensor](const std::shared_ptr<CloudSample>& message, const void*) {
          lidar_callback(message, sensor);
        },
        stream_qos()));
    if (!SDK_LOG_CREATED(readers_.back(), sensor_reader_text(lidar.logged_topic, " success."),
                         sensor_reader_text(lidar.logged_topic, " fail."))) {
      return false;
    }
  }
  return true;
}

bool SensorBase::open_imu_readers() {
  for (const auto& imu : imu_channels(machine_type_)) {
    if (!is_enabled(imu.sensor)) {
      continue;
    }
    readers_.push_back(node_->CreateReader<ImuSensor>(
        imu.topic,
        [this, sensor = imu.sensor](const std::shared_ptr<ImuSensor>& message, const void*) {
          imu_callback(message, sensor);
        },
        imu_qos(imu)));
    if (!SDK_LOG_CREATED(readers_.back(), std::string("create imu_reader ") + imu.topic + " success.",
                         std::string("create imu_reader ") + imu.topic + " fail.")) {
      return false;
    }
  }
  return true;
}

bool SensorBase::open_ultrasonic_reader() {
  if (!is_enabled(SensorType::BASE_ULTRASONIC)) {
    return true;
  }
  readers_.push_back(node_->CreateReader(
      "base_ultra", [this](const void* data, int size, const void*) { ultrasonic_callback(data, size); }, Qos(),
      nullptr, true));
  return SDK_LOG_CREATED(readers_.back(), "create ultrasonic reader /base_ultra success.",
                         "create ultrasonic reader /base_ultra fail.");
}

bool SensorBase::open_camera_readers() {
  for (const auto& camera : camera_channels()) {
    if (!is_enabled(camera.sensor)) {
      continue;
    }
    readers_.push_back(create_image_reader(camera));
    if (!SDK_LOG_CREATED(readers_.back(), sensor_reader_text(camera.image_topic, " success."),
                         camera_failure_text(camera, camera.image_topic))) {
      return false;
    }
    readers_.push_back(create_info_reader(camera));
    if (!SDK_LOG_CREATED(readers_.back(), sensor_reader_text(camera.info_topic, " success."),
                         camera_failure_text(camera, camera.info_topic))) {
      return false;
    }
  }
  return true;
}

void SensorBase::open_infrared_readers(const CameraChannel& camera) {
  std::lock_guard<std::mutex> lock(infrared_mutex_);
  // An entry counts even if its readers could not be made: creation is not tried again.
  if (!is_enabled(camera.sensor) || infrared_readers_.count(camera.sensor) > 0) {
    return;
  }
  auto& [image_reader, info_reader] = infrared_readers_[camera.sensor];
  image_reader = create_image_reader(camera);
  SDK_LOG_CREATED(image_reader, sensor_reader_text(camera.image_topic, " success."),
                  sensor_reader_text(camera.image_topic, " fail."));
  info_reader = create_info_reader(camera);
  SDK_LOG_CREATED(info_reader, sensor_reader_text(camera.info_topic, " success."),
                  sensor_reader_text(camera.info_topic, " fail."));
}

SensorBase::Reader SensorBase::create_image_reader(const CameraChannel& camera) {
  return node_->CreateReader<ImageSample>(
      camera.image_topic,
      [this, &camera](const std::shared_ptr<ImageSample>& message, const void*) { image_callback(camera, message); },
      stream_qos());
}

SensorBase::Reader SensorBase::create_info_reader(const CameraChannel& camera) {
  return node_->CreateReader<sensor_proto::CameraInfo>(
      camera.info_topic,
      [this, &camera](const std::shared_ptr<sensor_proto::CameraInfo>& message, const void*) {
        camera_info_callback(camera, message);
      },
      Qos());
}

}  // namespace norvik::sdk
