#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/export.hpp>

namespace cv {
class Mat;
}

namespace norvik::sdk {

enum class SensorType : int32_t {
  HEAD_LEFT_CAMERA = 0,
  HEAD_RIGHT_CAMERA = 1,
  LEFT_ARM_CAMERA = 2,
  RIGHT_ARM_CAMERA = 3,
  LEFT_ARM_DEPTH_CAMERA = 4,
  RIGHT_ARM_DEPTH_CAMERA = 5,
  LEFT_ARM_INFRA_CAMERA_1 = 6,
  LEFT_ARM_INFRA_CAMERA_2 = 7,
  RIGHT_ARM_INFRA_CAMERA_1 = 8,
  RIGHT_ARM_INFRA_CAMERA_2 = 9,
  BASE_LIDAR = 10,
  HEAD_LIDAR = 11,
  BACK_LIDAR = 12,
  CHASSIS_LIDAR = 13,
  HEAD_IMU = 14,
  BACK_IMU = 15,
  CHASSIS_IMU = 16,
  TORSO_IMU = 17,
  LIDAR_IMU = 18,
  BASE_ULTRASONIC = 19,
  LEFT_FRONT_SURROUND_CAMERA = 20,
  RIGHT_FRONT_SURROUND_CAMERA = 21,
  LEFT_REAR_SURROUND_CAMERA = 22,
  RIGHT_REAR_SURROUND_CAMERA = 23,
  SENSOR_NUM = 24  // number of the values above, not a sensor
};

static const std::unordered_map<SensorType, std::string> sensor_type_string_map_ = {
    {SensorType::HEAD_LEFT_CAMERA, "HEAD_LEFT_CAMERA"},
    {SensorType::HEAD_RIGHT_CAMERA, "HEAD_RIGHT_CAMERA"},
    {SensorType::LEFT_ARM_CAMERA, "LEFT_ARM_CAMERA"},
    {SensorType::RIGHT_ARM_CAMERA, "RIGHT_ARM_CAMERA"},
    {SensorType::LEFT_ARM_DEPTH_CAMERA, "LEFT_ARM_DEPTH_CAMERA"},
    {SensorType::RIGHT_ARM_DEPTH_CAMERA, "RIGHT_ARM_DEPTH_CAMERA"},
    {SensorType::LEFT_ARM_INFRA_CAMERA_1, "LEFT_ARM_INFRA_CAMERA_1"},
    {SensorType::LEFT_ARM_INFRA_CAMERA_2, "LEFT_ARM_INFRA_CAMERA_2"},
    {SensorType::RIGHT_ARM_INFRA_CAMERA_1, "RIGHT_ARM_INFRA_CAMERA_1"},
    {SensorType::RIGHT_ARM_INFRA_CAMERA_2, "RIGHT_ARM_INFRA_CAMERA_2"},
    {SensorType::BASE_LIDAR, "BASE_LIDAR"},
    {SensorType::HEAD_LIDAR, "HEAD_LIDAR"},
    {SensorType::BACK_LIDAR, "BACK_LIDAR"},
    {SensorType::CHASSIS_LIDAR, "CHASSIS_LIDAR"},
    {SensorType::HEAD_IMU, "HEAD_IMU"},
    {SensorType::BACK_IMU, "BACK_IMU"},
    {SensorType::CHASSIS_IMU, "CHASSIS_IMU"},
    {SensorType::TORSO_IMU, "TORSO_IMU"},
    {SensorType::LIDAR_IMU, "LIDAR_IMU"},
    {SensorType::BASE_ULTRASONIC, "BASE_ULTRASONIC"},
    {SensorType::LEFT_FRONT_SURROUND_CAMERA, "LEFT_FRONT_SURROUND_CAMERA"},
    {SensorType::RIGHT_FRONT_SURROUND_CAMERA, "RIGHT_FRONT_SURROUND_CAMERA"},
    {SensorType::LEFT_REAR_SURROUND_CAMERA, "LEFT_REAR_SURROUND_CAMERA"},
    {SensorType::RIGHT_REAR_SURROUND_CAMERA, "RIGHT_REAR_SURROUND_CAMERA"},
    {SensorType::SENSOR_NUM, "SENSOR_NUM"},
};

// The eight ultrasonic sensors around the base of the K2. Their numbers are not those printed on the sensors.
enum class UltrasonicType : int32_t {
  ULTRASONIC_0 = 0,  // sensor "u1"
  ULTRASONIC_1 = 1,  // sensor "u8"
  ULTRASONIC_2 = 2,  // sensor "u7"
  ULTRASONIC_3 = 3,  // sensor "u6"
  ULTRASONIC_4 = 4,  // sensor "u4"
  ULTRASONIC_5 = 5,  // sensor "u5"
  ULTRASONIC_6 = 6,  // sensor "u3"
  ULTRASONIC_7 = 7   // sensor "u2"
};

// The wrist force sensors of the K2.
enum class NorvikOneTangoSensor : int32_t { LEFT = 0, RIGHT = 1 };

struct ImuData {
  int64_t timestamp_ns = 0;
  double accel_x = 0.0;  // m/s^2
  double accel_y = 0.0;
  double accel_z = 0.0;
  double gyro_x = 0.0;  // as the sensor tells it, in its own frame
  double gyro_y = 0.0;
  double gyro_z = 0.0;
  double magnet_x = 0.0;  // as the sensor tells it
  double magnet_y = 0.0;
  double magnet_z = 0.0;
};

// Pose and velocity of the base in the frame "odom".
struct OdomData {
  int64_t timestamp_ns = 0;
  std::array<double, 3> position{};                       // x, y, z, metres
  std::array<double, 4> orientation{0.0, 0.0, 0.0, 1.0};  // quaternion x, y, z, w
  std::array<double, 3> linear_velocity{};                // x, y, z, m/s
  std::array<double, 3> angular_velocity{};               // x, y, z, rad/s
};

// Part of the sensor that the image shows, in pixels. All zero: the whole sensor.
struct RegionOfInterest {
  uint32_t x_offset = 0;
  uint32_t y_offset = 0;
  uint32_t height = 0;
  uint32_t width = 0;
  bool do_rectify = false;
};

struct CameraInfo {
  int64_t timestamp_ns = 0;
  std::string frame_id;
  uint32_t height = 0;  // pixels
  uint32_t width = 0;   // pixels
  std::string distortion_model;
  std::vector<double> d;                                         // distortion coefficients of the model
  std::array<double, 9> k{1, 0, 0, 0, 1, 0, 0, 0, 1};            // intrinsic matrix, 3 by 3, row-major, pixels
  std::array<double, 9> r{1, 0, 0, 0, 1, 0, 0, 0, 1};            // rectification rotation, 3 by 3, row-major
  std::array<double, 12> p{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};  // projection, 3 by 4, row-major, pixels
  uint32_t binning_x = 0;
  uint32_t binning_y = 0;
  RegionOfInterest roi;
  std::string camera_type;
  std::vector<double> T;  // transform of the camera, as the robot tells it
};

// A compressed colour image.
struct RgbData {
  // Decodes into 8-bit BGR. Empty, with one record in the log, when `data` is no image. Decodes anew on every call.
  NORVIK_SDK_EXPORT std::shared_ptr<cv::Mat> convert_to_cv2_mat() const;

  int64_t timestamp_ns = 0;
  std::string frame_id;
  std::string format;  // of `data`, such as "jpeg"
  std::vector<uint8_t> data;
};

// A depth image of raw 16-bit pixels, row by row.
struct DepthData {
  // The pixels as CV_16UC1, without a copy: the matrix must not outlive the record. When height or width is zero both
  // are inferred from the number of pixels and stored in the record. Empty, with one record in the log, when that
  // fails. depth_scale is not applied. Not for several threads at once on one record.
  NORVIK_SDK_EXPORT std::shared_ptr<cv::Mat> convert_to_cv2_mat();

  int64_t timestamp_ns = 0;
  std::string frame_id;
  uint32_t height = 0;  // pixels; 0 while the camera's parameters are unknown
  uint32_t width = 0;   // pixels; 0 while the camera's parameters are unknown
  std::string format;
  std::vector<uint8_t> data;
  uint32_t depth_scale = 0;  // pixel values of one metre, as the camera tells it
};

// An infrared image of raw 8-bit pixels, row by row.
struct IrData {
  // The pixels as CV_8UC1; everything else as for DepthData.
  NORVIK_SDK_EXPORT std::shared_ptr<cv::Mat> convert_to_cv2_mat();

  int64_t timestamp_ns = 0;
  std::string frame_id;
  std::string format;
  uint32_t height = 0;  // pixels; 0 while the camera's parameters are unknown
  uint32_t width = 0;   // pixels; 0 while the camera's parameters are unknown
  std::vector<uint8_t> data;
};

// Where one value of a point lies within its point_step bytes.
struct PointField {
  std::string name;      // such as "x" or "intensity"
  uint32_t offset = 0;   // bytes from the start of the point
  int32_t datatype = 0;  // 1 int8, 2 uint8, 3 int16, 4 uint16, 5 int32, 6 uint32, 7 float32, 8 float64, 0 unknown
  uint32_t count = 0;    // elements
};

// A point cloud: height rows of width points, row_step bytes a row, point_step bytes a point.
struct LidarData {
  int64_t timestamp_ns = 0;
  std::string frame_id;
  uint32_t height = 0;
  uint32_t width = 0;
  std::vector<PointField> fields;
  bool is_bigendian = false;
  uint32_t point_step = 0;
  uint32_t row_step = 0;
  std::vector<uint8_t> data;
  bool is_dense = false;  // no invalid points
};

struct UltrasonicData {
  int64_t timestamp_ns = 0;
  double distance = 0.0;  // metres
};

// Force and torque at the wrist, newtons and newton metres in the sensor's frame.
struct ForceData {
  int64_t timestamp_ns = 0;
  double force_x = 0.0;
  double force_y = 0.0;
  double force_z = 0.0;
  double torque_x = 0.0;
  double torque_y = 0.0;
  double torque_z = 0.0;
};

// A piece of microphone sound.
struct AudioData {
  int64_t timestamp_ns = 0;
  std::string frame_id;
  std::string type;
  std::string format;  // encoding of `data`
  std::vector<uint8_t> data;
};

}  // namespace norvik::sdk
