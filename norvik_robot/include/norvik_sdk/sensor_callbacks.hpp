#pragma once

#include <functional>
#include <memory>

#include <norvik_sdk/export.hpp>
#include <norvik_sdk/norvik_robot.hpp>
#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Delivery of sensor samples as they arrive, beside the polling operations of NorvikRobot:
//
//   norvik::sdk::get_sensor_callbacks(robot)->add_rgb_data_callback(
//       SensorType::HEAD_LEFT_CAMERA, [](std::shared_ptr<RgbData> image) { ... });
//
// A callback runs on a worker thread of the middleware, after the sample can be polled, in the order of registration
// and one sample at a time per sensor, without a lock of the library. It may call NorvikRobot, wait for the robot's
// answer and register further callbacks; meanwhile samples of its own sensor queue up, and all other sensors go on as
// long as one worker stays free. Let nothing escape from it, and do not change the record, which is shared. There is no
// removal.
//
// Results: SUCCESS; INVALID_INPUT when the sensor is of another kind, INIT_FAILED when it was not given to `init`. Any
// thread may call, callbacks included. Registration does not block; it counts from the sensor's next sample on.
class NORVIK_SDK_EXPORT SensorCallbacks {
 public:
  virtual ~SensorCallbacks() = default;

  // Colour cameras. Registration for a surround camera succeeds, but its callback is not run.
  virtual ControlStatus add_rgb_data_callback(SensorType sensor,
                                              std::function<void(std::shared_ptr<RgbData>)> callback) = 0;

  virtual ControlStatus add_depth_data_callback(SensorType sensor,
                                                std::function<void(std::shared_ptr<DepthData>)> callback) = 0;

  virtual ControlStatus add_ir_data_callback(SensorType sensor,
                                             std::function<void(std::shared_ptr<IrData>)> callback) = 0;

  // Colour and depth cameras; not infrared. Surround cameras as in add_rgb_data_callback.
  virtual ControlStatus add_camera_intrinsic_callback(SensorType sensor,
                                                      std::function<void(std::shared_ptr<CameraInfo>)> callback) = 0;

  // Any sensor that was not given to `init` is INIT_FAILED, also one that is no lidar.
  virtual ControlStatus add_lidar_callback(SensorType sensor,
                                           std::function<void(std::shared_ptr<LidarData>)> callback) = 0;
};

// The registration interface of a robot from NorvikRobot::get_instance; lives as long as the robot. Null for any other
// implementation of NorvikRobot.
NORVIK_SDK_EXPORT SensorCallbacks* get_sensor_callbacks(NorvikRobot& robot);

}  // namespace norvik::sdk
