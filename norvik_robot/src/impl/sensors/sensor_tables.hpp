#pragma once

#include <array>
#include <set>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// What kind of thing each sensor is, on either model; only the IMUs differ.
struct SensorFamilies {
  std::set<SensorType> rgb;
  std::set<SensorType> depth;
  std::set<SensorType> ir;
  std::set<SensorType> lidar;
  std::set<SensorType> imu;

  bool is_camera(SensorType sensor) const;
};
SensorFamilies sensor_families(MachineType machine);

// Whether the model has the sensor.
bool is_sensor_valid_for_machine(SensorType sensor, MachineType machine);

// The sensor's name; empty for a value that is none.
std::string sensor_type_to_string(SensorType sensor);

// The frame that a sensor's data is given in; null for a sensor without one.
const char* sensor_frame(SensorType sensor, MachineType machine);

// Tables that callbacks use hold nothing that is destroyed: workers of the middleware may still run while the process
// ends.

enum class CameraKind { rgb, depth, ir };

struct CameraChannel {
  SensorType sensor;
  CameraKind kind;
  const char* image_topic;
  const char* info_topic;
  const char* image_callback;  // Names of its callbacks; one implementation serves those of all cameras.
  const char* info_callback;
  bool runs_callbacks;  // Samples of the surround cameras are polled only.
};

// The cameras whose channels are opened at initialisation, in that order.
const std::array<CameraChannel, 10>& camera_channels();

// An arm camera has two infrared imagers; a latched parameter topic tells whether they run.
struct ArmCameraChannel {
  const char* param_topic;
  const char* param_callback;
  CameraChannel infrared[2];
};
const std::array<ArmCameraChannel, 2>& arm_camera_channels();

struct LidarChannel {
  SensorType sensor;
  const char* topic;
  const char* logged_topic;
};
const std::vector<LidarChannel>& lidar_channels();

struct ImuChannel {
  SensorType sensor;
  const char* topic;
  bool is_stream;  // Carried in the large envelope.
};
// The IMUs of a model that have a topic. Empty for a value that is no model.
const std::vector<ImuChannel>& imu_channels(MachineType machine);

// The key of each ultrasonic sensor in the robot's report.
struct UltrasonicKey {
  UltrasonicType type;
  const char* key;
};
const std::array<UltrasonicKey, 8>& ultrasonic_keys();

}  // namespace norvik::sdk
