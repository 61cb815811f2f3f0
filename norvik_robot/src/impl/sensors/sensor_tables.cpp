#include "impl/sensors/sensor_tables.hpp"

#include <array>

namespace norvik::sdk {
namespace {

using S = SensorType;

constexpr size_t kSensorCount = static_cast<size_t>(S::SENSOR_NUM);

// By sensor; the depth cameras share the frame of their colour camera.
constexpr std::array<const char*, kSensorCount> kFrames = {
    "head_left_camera_color_optical_frame",
    "head_right_camera_color_optical_frame",
    "left_arm_camera_color_optical_frame",
    "right_arm_camera_color_optical_frame",
    "left_arm_camera_color_optical_frame",
    "right_arm_camera_color_optical_frame",
    "left_arm_camera_infra1_optical_frame",
    "left_arm_camera_infra2_optical_frame",
    "right_arm_camera_infra1_optical_frame",
    "right_arm_camera_infra2_optical_frame",
    "lidar_base_link",
    "head_lidar_base_link",
    "back_lidar_base_link",
    "chassis_lidar_base_link",
    "head_imu_base_link",
    "back_imu_base_link",
    "chassis_imu_base_link",
    nullptr,  // TORSO_IMU
    "imu_base_link",
    nullptr,  // BASE_ULTRASONIC
    "left_front_surround_color_optical_frame",
    "right_front_surround_color_optical_frame",
    "left_rear_surround_color_optical_frame",
    "right_rear_surround_color_optical_frame",
};

std::set<S> imu_sensors(MachineType machine) {
  switch (machine) {
    case MachineType::K2:
      return {S::TORSO_IMU, S::LIDAR_IMU, S::CHASSIS_IMU};
    case MachineType::R5:
      return {S::HEAD_IMU, S::BACK_IMU, S::CHASSIS_IMU};
  }
  return {S::CHASSIS_IMU};
}

constexpr CameraChannel infrared(S sensor, const char* image_topic, const char* info_topic, const char* image_callback,
                                 const char* info_callback) {
  return {sensor, CameraKind::ir, image_topic, info_topic, image_callback, info_callback, true};
}

}  // namespace

bool SensorFamilies::is_camera(SensorType sensor) const {
  return rgb.count(sensor) > 0 || depth.count(sensor) > 0 || ir.count(sensor) > 0;
}

SensorFamilies sensor_families(MachineType machine) {
  return {
      {S::HEAD_LEFT_CAMERA, S::HEAD_RIGHT_CAMERA, S::LEFT_ARM_CAMERA, S::RIGHT_ARM_CAMERA,
       S::LEFT_FRONT_SURROUND_CAMERA, S::RIGHT_FRONT_SURROUND_CAMERA, S::LEFT_REAR_SURROUND_CAMERA,
       S::RIGHT_REAR_SURROUND_CAMERA},
      {S::LEFT_ARM_DEPTH_CAMERA, S::RIGHT_ARM_DEPTH_CAMERA},
      {S::LEFT_ARM_INFRA_CAMERA_1, S::LEFT_ARM_INFRA_CAMERA_2, S::RIGHT_ARM_INFRA_CAMERA_1,
       S::RIGHT_ARM_INFRA_CAMERA_2},
      {S::BASE_LIDAR, S::HEAD_LIDAR, S::BACK_LIDAR, S::CHASSIS_LIDAR},
      imu_sensors(machine),
  };
}

bool is_sensor_valid_for_machine(SensorType sensor, MachineType machine) {
  static const std::set<S> k2_only = {S::BASE_LIDAR,
                                      S::TORSO_IMU,
                                      S::LIDAR_IMU,
                                      S::LEFT_FRONT_SURROUND_CAMERA,
                                      S::RIGHT_FRONT_SURROUND_CAMERA,
                                      S::LEFT_REAR_SURROUND_CAMERA,
                                      S::RIGHT_REAR_SURROUND_CAMERA};
  static const std::set<S> r5_only = {S::HEAD_LIDAR, S::BACK_LIDAR, S::CHASSIS_LIDAR, S::HEAD_IMU, S::BACK_IMU};
  switch (machine) {
    case MachineType::K2:
      return r5_only.count(sensor) == 0;
    case MachineType::R5:
      return k2_only.count(sensor) == 0;
  }
  return false;
}

std::string sensor_type_to_string(SensorType sensor) {
  const auto name = sensor_type_string_map_.find(sensor);
  return name == sensor_type_string_map_.end() ? std::string() : name->second;
}

const char* sensor_frame(SensorType sensor, MachineType machine) {
  const auto index = static_cast<size_t>(sensor);
  if (index >= kSensorCount) {
    return nullptr;
  }
  return sensor == S::CHASSIS_IMU && machine == MachineType::K2 ? "chassis_imu_link" : kFrames[index];
}

const std::array<CameraChannel, 10>& camera_channels() {
  static constexpr std::array<CameraChannel, 10> kChannels = {{
      {S::HEAD_LEFT_CAMERA, CameraKind::rgb, "/front_head_camera/left_color/image_raw",
       "/front_head_camera/left_color/camera_info", "left_head_camera_image_callback", "left_head_camera_info_callback",
       true},
      {S::HEAD_RIGHT_CAMERA, CameraKind::rgb, "/front_head_camera/right_color/image_raw",
       "/front_head_camera/right_color/camera_info", "right_head_camera_image_callback",
       "right_head_camera_info_callback", true},
      {S::LEFT_ARM_CAMERA, CameraKind::rgb, "/left_arm_camera/color/image_raw", "/left_arm_camera/color/camera_info",
       "left_arm_camera_image_callback", "left_arm_camera_info_callback", true},
      {S::LEFT_ARM_DEPTH_CAMERA, CameraKind::depth, "/left_arm_camera/depth/image_raw",
       "/left_arm_camera/depth/camera_info", "left_arm_depth_camera_image_callback",
       "left_arm_depth_camera_info_callback", true},
      {S::RIGHT_ARM_CAMERA, CameraKind::rgb, "/right_arm_camera/color/image_raw", "/right_arm_camera/color/camera_info",
       "right_arm_camera_image_callback", "right_arm_camera_info_callback", true},
      {S::RIGHT_ARM_DEPTH_CAMERA, CameraKind::depth, "/right_arm_camera/depth/image_raw",
       "/right_arm_camera/depth/camera_info", "right_arm_depth_camera_image_callback",
       "right_arm_depth_camera_info_callback", true},
      {S::LEFT_FRONT_SURROUND_CAMERA, CameraKind::rgb, "/left_front_surround/color/image_raw",
       "/left_front_surround/color/camera_info", "left_front_surround_camera_image_callback",
       "left_front_surround_camera_info_callback", false},
      {S::RIGHT_FRONT_SURROUND_CAMERA, CameraKind::rgb, "/right_front_surround/color/image_raw",
       "/right_front_surround/color/camera_info", "right_front_surround_camera_image_callback",
       "right_front_surround_camera_info_callback", false},
      {S::LEFT_REAR_SURROUND_CAMERA, CameraKind::rgb, "/left_rear_surround/color/image_raw",
       "/left_rear_surround/color/camera_info", "left_rear_surround_camera_image_callback",
       "left_rear_surround_camera_info_callback", false},
      {S::RIGHT_REAR_SURROUND_CAMERA, CameraKind::rgb, "/right_rear_surround/color/image_raw",
       "/right_rear_surround/color/camera_info", "right_rear_surround_camera_image_callback",
       "right_rear_surround_camera_info_callback", false},
  }};
  return kChannels;
}

const std::array<ArmCameraChannel, 2>& arm_camera_channels() {
  static constexpr std::array<ArmCameraChannel, 2> kChannels = {{
      {"/cam_arm_l/meta_data/params",
       "left_arm_camera_param_callback",
       {infrared(S::LEFT_ARM_INFRA_CAMERA_1, "/left_arm_camera/infra1/image_rect_raw",
                 "/left_arm_camera/infra1/camera_info", "left_arm_infra_camera_1_image_callback",
                 "left_arm_infra_camera_1_info_callback"),
        infrared(S::LEFT_ARM_INFRA_CAMERA_2, "/left_arm_camera/infra2/image_rect_raw",
                 "/left_arm_camera/infra2/camera_info", "left_arm_infra_camera_2_image_callback",
                 "left_arm_infra_camera_2_info_callback")}},
      {"/cam_arm_r/meta_data/params",
       "right_arm_camera_param_callback",
       {infrared(S::RIGHT_ARM_INFRA_CAMERA_1, "/right_arm_camera/infra1/image_rect_raw",
                 "/right_arm_camera/infra1/camera_info", "right_arm_infra_camera_1_image_callback",
                 "right_arm_infra_camera_1_info_callback"),
        infrared(S::RIGHT_ARM_INFRA_CAMERA_2, "/right_arm_camera/infra2/image_rect_raw",
                 "/right_arm_camera/infra2/camera_info", "right_arm_infra_camera_2_image_callback",
                 "right_arm_infra_camera_2_info_callback")}},
  }};
  return kChannels;
}

const std::vector<LidarChannel>& lidar_channels() {
  static const std::vector<LidarChannel> channels = {
      {S::BASE_LIDAR, "/lidar_chassis_f/lidar/data_raw", "/lidar_chassis_f/lidar/data_raw"},
      {S::HEAD_LIDAR, "/lidar_head_f/lidar/data_raw", "/lidar_head_f/lidar/data_raw"},
      {S::BACK_LIDAR, "/lidar_body_b/lidar/data_raw", "/lidar_body_b/lidar/data_raw"},
      {S::CHASSIS_LIDAR, "/lidar_chassis_f/lidar/data_raw", "lidar_chassis_f/lidar/data_raw"},
  };
  return channels;
}

const std::vector<ImuChannel>& imu_channels(MachineType machine) {
  static const std::vector<ImuChannel> k2 = {
      {S::CHASSIS_IMU, "/chassis/imu", false},
      {S::LIDAR_IMU, "/lidar_chassis_f/imu/data_raw", true},
  };
  static const std::vector<ImuChannel> r5 = {
      {S::HEAD_IMU, "/lidar_head_f/imu/data_raw", true},
      {S::BACK_IMU, "/lidar_body_b/imu/data_raw", true},
      {S::CHASSIS_IMU, "/lidar_chassis_f/imu/data_raw", true},
  };
  static const std::vector<ImuChannel> none;
  switch (machine) {
    case MachineType::K2:
      return k2;
    case MachineType::R5:
      return r5;
  }
  return none;
}

const std::array<UltrasonicKey, 8>& ultrasonic_keys() {
  using U = UltrasonicType;
  static constexpr std::array<UltrasonicKey, 8> kKeys = {{{U::ULTRASONIC_0, "u1"},
                                                          {U::ULTRASONIC_1, "u8"},
                                                          {U::ULTRASONIC_2, "u7"},
                                                          {U::ULTRASONIC_3, "u6"},
                                                          {U::ULTRASONIC_4, "u4"},
                                                          {U::ULTRASONIC_5, "u5"},
                                                          {U::ULTRASONIC_6, "u3"},
                                                          {U::ULTRASONIC_7, "u2"}}};
  return kKeys;
}

}  // namespace norvik::sdk
