// What SensorBase does with a sample: convert it, store it, and hand it to the users' callbacks.
#include <utility>

#include "impl/sensor_base.hpp"
#include "impl/sensors/sensor_json.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

template <typename Buffers, typename Key, typename Record>
void store(const Buffers& buffers, Key key, const std::shared_ptr<Record>& record) {
  const auto buffer = buffers.find(key);
  if (buffer != buffers.end()) {
    buffer->second->set_data(record);
  }
}

}  // namespace

void SensorBase::image_callback(const CameraChannel& camera, const ImageMessage& message) {
  if (!message) {
    SDK_LOG(error) << camera.image_callback << " message is nullptr";
    return;
  }
  switch (camera.kind) {
    case CameraKind::rgb:
      return rgb_image_callback(camera, message);
    case CameraKind::depth:
      return depth_image_callback(camera, message);
    case CameraKind::ir:
      return ir_image_callback(camera, message);
  }
}

void SensorBase::rgb_image_callback(const CameraChannel& camera, const ImageMessage& message) {
  std::shared_ptr<RgbData> image;
  if (!convert_sample(message, image, compressed_image_to_rgb_data)) {
    SDK_LOG(error) << camera.image_callback << " compressed_image_to_rgb_data failed";
    return;
  }
  store(rgb_buffers_, camera.sensor, image);
  if (sync_mode_) {
    histories_.push_rgb_history(camera.sensor, image);
  }
  if (camera.runs_callbacks) {
    rgb_callbacks_.run(camera.sensor, image);
  }
}

void SensorBase::depth_image_callback(const CameraChannel& camera, const ImageMessage& message) {
  const auto [height, width] = image_size(camera.sensor);
  std::shared_ptr<DepthData> image;
  if (!convert_sample(message, image, compressed_image_to_depth_data, height, width)) {
    SDK_LOG(error) << camera.image_callback << " compressed_image_to_depth_data failed";
    return;
  }
  store(depth_buffers_, camera.sensor, image);
  if (sync_mode_) {
    histories_.push_depth_history(camera.sensor, image);
  }
  depth_callbacks_.run(camera.sensor, image);
}

void SensorBase::ir_image_callback(const CameraChannel& camera, const ImageMessage& message) {
  const auto [height, width] = image_size(camera.sensor);
  std::shared_ptr<IrData> image;
  if (!convert_sample(message, image, compressed_image_to_ir_data, height, width)) {
    SDK_LOG(error) << camera.image_callback << " compressed_image_to_ir_data failed";
    return;
  }
  store(ir_buffers_, camera.sensor, image);
  ir_callbacks_.run(camera.sensor, image);
}

// Height and width as the camera last told them, 0 and 0 before.
std::pair<uint32_t, uint32_t> SensorBase::image_size(SensorType sensor) const {
  const auto buffer = camera_info_buffers_.find(sensor);
  const auto info = buffer == camera_info_buffers_.end() ? nullptr : buffer->second->get_data();
  return info ? std::make_pair(info->height, info->width) : std::make_pair(0U, 0U);
}

void SensorBase::camera_info_callback(const CameraChannel& camera,
                                      const std::shared_ptr<sensor_proto::CameraInfo>& message) {
  if (!message) {
    SDK_LOG(error) << camera.info_callback << " message is nullptr";
    return;
  }
  std::shared_ptr<CameraInfo> info;
  if (!camera_info_proto_to_camera_info(message, info)) {
    SDK_LOG(error) << camera.info_callback << " camera_info_proto_to_camera_info failed";
    return;
  }
  store(camera_info_buffers_, camera.sensor, info);
  if (camera.runs_callbacks) {
    camera_info_callbacks_.run(camera.sensor, info);
  }
}

void SensorBase::lidar_callback(const std::shared_ptr<CloudSample>& message, SensorType sensor) {
  if (!message) {
    SDK_LOG(error) << "lidar_callback message is nullptr";
    return;
  }
  std::shared_ptr<LidarData> cloud;
  if (!convert_sample(message, cloud, point_cloud2_proto_to_point_cloud2)) {
    SDK_LOG(error) << "lidar_callback point_cloud2_proto_to_point_cloud2 failed";
    return;
  }
  store(lidar_buffers_, sensor, cloud);
  lidar_callbacks_.run(sensor, cloud);
}

void SensorBase::imu_callback(const std::shared_ptr<sensor_proto::ImuSensor>& message, SensorType sensor) {
  if (!message) {
    SDK_LOG(error) << "imu_callback message is nullptr";
    return;
  }
  auto sample = std::make_shared<ImuData>();
  if (!imu_proto_to_imu_data(message, sample)) {
    SDK_LOG(error) << "imu_callback imu_proto_to_imu_data failed";
    return;
  }
  store(imu_buffers_, sensor, sample);
}

void SensorBase::ultrasonic_callback(const void* data, int size) {
  if (data == nullptr || size <= 0) {
    SDK_LOG(error) << "ultrasonic_callback: data invalid";
    return;
  }
  for (const auto& [type, sample] :
       parse_ultrasonic_report({static_cast<const char*>(data), static_cast<size_t>(size)})) {
    store(ultrasonic_buffers_, type, sample);
  }
}

void SensorBase::arm_camera_param_callback(const ArmCameraChannel& arm_camera,
                                           const std::shared_ptr<core_proto::StringValue>& message) {
  if (!message) {
    SDK_LOG(error) << arm_camera.param_callback << " message is nullptr";
    return;
  }
  if (!is_infrared_on(arm_camera.param_callback, message->value())) {
    return;  // Channels that exist stay open.
  }
  for (const auto& camera : arm_camera.infrared) {
    open_infrared_readers(camera);
  }
}

}  // namespace norvik::sdk
