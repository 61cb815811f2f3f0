#include "services/sensors/sensor_tables.hpp"

namespace norvik::simulator {

namespace {

constexpr const char* kRaw = "/image_raw";
constexpr const char* kRectified = "/image_rect_raw";

CameraRow colour(const char* topics, const char* frame, bool only_k2 = false) {
  return {topics, kRaw, frame, PixelKind::kColour, ArmSide::kNone, only_k2};
}

CameraRow depth(const char* topics, const char* frame) {
  return {topics, kRaw, frame, PixelKind::kDepth, ArmSide::kNone, false};
}

CameraRow infrared(const char* topics, const char* frame, ArmSide side) {
  return {topics, kRectified, frame, PixelKind::kInfrared, side, false};
}

}  // namespace

const std::vector<CameraRow>& camera_table() {
  static const std::vector<CameraRow> kTable = {
      colour("/front_head_camera/left_color", "head_left_camera_color_optical_frame"),
      colour("/front_head_camera/right_color", "head_right_camera_color_optical_frame"),
      colour("/left_arm_camera/color", "left_arm_camera_color_optical_frame"),
      colour("/right_arm_camera/color", "right_arm_camera_color_optical_frame"),
      depth("/left_arm_camera/depth", "left_arm_camera_color_optical_frame"),
      depth("/right_arm_camera/depth", "right_arm_camera_color_optical_frame"),
      infrared("/left_arm_camera/infra1", "left_arm_camera_infra1_optical_frame", ArmSide::kLeft),
      infrared("/left_arm_camera/infra2", "left_arm_camera_infra2_optical_frame", ArmSide::kLeft),
      infrared("/right_arm_camera/infra1", "right_arm_camera_infra1_optical_frame", ArmSide::kRight),
      infrared("/right_arm_camera/infra2", "right_arm_camera_infra2_optical_frame", ArmSide::kRight),
      colour("/left_front_surround/color", "left_front_surround_color_optical_frame", true),
      colour("/right_front_surround/color", "right_front_surround_color_optical_frame", true),
      colour("/left_rear_surround/color", "left_rear_surround_color_optical_frame", true),
      colour("/right_rear_surround/color", "right_rear_surround_color_optical_frame", true),
  };
  return kTable;
}

const std::vector<SensorRow>& lidar_table() {
  static const std::vector<SensorRow> kTable = {
      {"/lidar_chassis_f/lidar/data_raw", "lidar_base_link", "K2"},
      {"/lidar_head_f/lidar/data_raw", "head_lidar_base_link", "R5"},
      {"/lidar_body_b/lidar/data_raw", "back_lidar_base_link", "R5"},
      {"/lidar_chassis_f/lidar/data_raw", "chassis_lidar_base_link", "R5"},
  };
  return kTable;
}

const std::vector<SensorRow>& imu_table() {
  static const std::vector<SensorRow> kTable = {
      {"/chassis/imu", "chassis_imu_link", "K2", false},
      {"/lidar_chassis_f/imu/data_raw", "imu_base_link", "K2"},
      {"/lidar_head_f/imu/data_raw", "head_imu_base_link", "R5"},
      {"/lidar_body_b/imu/data_raw", "back_imu_base_link", "R5"},
      {"/lidar_chassis_f/imu/data_raw", "chassis_imu_base_link", "R5"},
  };
  return kTable;
}

std::vector<std::reference_wrapper<const SensorRow>> rows_of(const std::vector<SensorRow>& table,
                                                             const RobotModel& robot) {
  std::vector<std::reference_wrapper<const SensorRow>> rows;
  for (const SensorRow& row : table) {
    if (row.model == robot.name) {
      rows.emplace_back(row);
    }
  }
  return rows;
}

}  // namespace norvik::simulator
