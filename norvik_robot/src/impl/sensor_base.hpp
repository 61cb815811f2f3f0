#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>
#include <norvik_sdk/sensor_callbacks.hpp>

#include "data_buffer.hpp"
#include "impl/sensors/callback_table.hpp"
#include "impl/sensors/sensor_conversion.hpp"
#include "impl/sensors/sensor_histories.hpp"
#include "impl/sensors/sensor_tables.hpp"
#include "norvik/core_proto/wrapper.pb.h"
#include "norvik/sensor_proto/camera.pb.h"
#include "norvik/sensor_proto/imu.pb.h"
#include "ovimux/base/raw_endpoints.hpp"
#include "ovimux/base/reader_base.hpp"

namespace norvik::ovimux {
class Node;
}

namespace norvik::sdk {

// The sensor topics: the newest sample of each sensor, callbacks as samples arrive, and synchronised observations.
class SensorBase : public virtual NorvikRobot, public SensorCallbacks {
 public:
  SensorBase();
  ~SensorBase() override;

  // Opens the channels of `sensors` at the first call that names only sensors of the model; every such call returns how
  // that went, and takes over `machine_type` and `enable_sync`.
  bool sensor_base_init(const std::set<SensorType>& sensors, MachineType machine_type, bool enable_sync);

  std::shared_ptr<ImuData> get_imu_data(SensorType sensor) override;
  std::shared_ptr<ImuData> get_imu_data_from_topic(SensorType sensor);
  std::shared_ptr<RgbData> get_rgb_data(SensorType sensor) override;
  std::shared_ptr<DepthData> get_depth_data(SensorType sensor) override;
  std::shared_ptr<IrData> get_ir_data(SensorType sensor) override;
  std::shared_ptr<SyncedObservation> get_synced_observation(const std::vector<SensorType>& cameras,
                                                            bool with_joint_state) override;
  std::shared_ptr<LidarData> get_lidar_data(SensorType sensor) override;
  std::shared_ptr<UltrasonicData> get_ultrasonic_data(UltrasonicType type) override;
  std::shared_ptr<CameraInfo> get_camera_intrinsic(SensorType sensor) override;
  std::pair<std::vector<double>, int64_t> get_sensor_extrinsic(SensorType sensor,
                                                               const std::string& reference_frame) override;

  ControlStatus add_rgb_data_callback(SensorType sensor,
                                      std::function<void(std::shared_ptr<RgbData>)> callback) override;
  ControlStatus add_depth_data_callback(SensorType sensor,
                                        std::function<void(std::shared_ptr<DepthData>)> callback) override;
  ControlStatus add_ir_data_callback(SensorType sensor, std::function<void(std::shared_ptr<IrData>)> callback) override;
  ControlStatus add_camera_intrinsic_callback(SensorType sensor,
                                              std::function<void(std::shared_ptr<CameraInfo>)> callback) override;
  ControlStatus add_lidar_callback(SensorType sensor,
                                   std::function<void(std::shared_ptr<LidarData>)> callback) override;

  // Keeps a joint state for synchronised observations; ignored unless `init` asked for them.
  void update_joint_sync_history(const std::shared_ptr<JointStateMessage>& state);

  // Run on workers of the middleware, several at once for different topics. A bad message is logged and leaves the last
  // good sample. The users' callbacks run here, without a lock.
  using ImageMessage = std::shared_ptr<ImageSample>;
  void image_callback(const CameraChannel& camera, const ImageMessage& message);
  void camera_info_callback(const CameraChannel& camera, const std::shared_ptr<sensor_proto::CameraInfo>& message);
  void lidar_callback(const std::shared_ptr<CloudSample>& message, SensorType sensor);
  void imu_callback(const std::shared_ptr<sensor_proto::ImuSensor>& message, SensorType sensor);
  void ultrasonic_callback(const void* data, int size);
  void arm_camera_param_callback(const ArmCameraChannel& arm_camera,
                                 const std::shared_ptr<core_proto::StringValue>& message);

 private:
  template <typename T, typename Key = SensorType>
  using Buffers = std::unordered_map<Key, std::unique_ptr<DataBuffer<T>>>;
  using Reader = std::shared_ptr<ovimux::ReaderBase>;

  bool open_channels(const std::set<SensorType>& sensors);
  void create_buffers();
  void open_param_readers();
  bool open_lidar_readers();
  bool open_imu_readers();
  bool open_ultrasonic_reader();
  bool open_camera_readers();
  Reader create_image_reader(const CameraChannel& camera);
  Reader create_info_reader(const CameraChannel& camera);
  void open_infrared_readers(const CameraChannel& camera);

  void rgb_image_callback(const CameraChannel& camera, const ImageMessage& message);
  void depth_image_callback(const CameraChannel& camera, const ImageMessage& message);
  void ir_image_callback(const CameraChannel& camera, const ImageMessage& message);
  std::pair<uint32_t, uint32_t> image_size(SensorType sensor) const;

  bool is_enabled(SensorType sensor) const { return enabled_sensors_.count(sensor) > 0; }
  template <typename T>
  std::shared_ptr<T> poll(const char* operation, bool is_of_family, SensorType sensor, const Buffers<T>& buffers) const;
  template <typename T>
  std::shared_ptr<T> poll_enabled(const char* operation, SensorType sensor, const Buffers<T>& buffers) const;
  template <typename T>
  ControlStatus add_callback(const char* operation, const char* success, bool is_of_family, SensorType sensor,
                             CallbackTable<T>& table, std::function<void(std::shared_ptr<T>)> callback);

  bool add_anchor(SensorType camera, SyncedObservation& observation, int64_t& time_ns) const;
  bool add_closest(SensorType camera, int64_t time_ns, SyncedObservation& observation) const;
  bool add_joint_state(int64_t time_ns, SyncedObservation& observation) const;

  std::atomic<MachineType> machine_type_{MachineType::K2};
  std::once_flag init_once_;
  bool init_success_ = false;  // Written and read through init_once_ only.
  std::atomic<bool> sync_mode_{false};

  // Filled once, before the first reader exists, and not changed after.
  SensorFamilies families_;
  std::set<SensorType> enabled_sensors_;
  Buffers<CameraInfo> camera_info_buffers_;
  Buffers<RgbData> rgb_buffers_;
  Buffers<DepthData> depth_buffers_;
  Buffers<IrData> ir_buffers_;
  Buffers<LidarData> lidar_buffers_;
  Buffers<ImuData> imu_buffers_;
  Buffers<UltrasonicData, UltrasonicType> ultrasonic_buffers_;

  CallbackTable<RgbData> rgb_callbacks_;
  CallbackTable<DepthData> depth_callbacks_;
  CallbackTable<IrData> ir_callbacks_;
  CallbackTable<CameraInfo> camera_info_callbacks_;
  CallbackTable<LidarData> lidar_callbacks_;
  SensorHistories histories_;

  std::unique_ptr<ovimux::Node> node_;

  // Readers go before everything above, which their callbacks use; the parameter readers, which open infrared channels,
  // before the others.
  std::vector<Reader> readers_;
  std::mutex infrared_mutex_;  // Guards infrared_readers_, which the callbacks of both arm cameras fill.
  std::unordered_map<SensorType, std::pair<Reader, Reader>> infrared_readers_;  // Image, camera info; may be empty.
  std::vector<Reader> param_readers_;
};

}  // namespace norvik::sdk
