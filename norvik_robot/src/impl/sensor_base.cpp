#include "impl/sensor_base.hpp"

#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

constexpr int64_t kExtrinsicTimeoutMs = 100;
constexpr int32_t kLastUltrasonic = 7;

template <typename Buffers, typename Key>
auto latest(const Buffers& buffers, Key key) -> decltype(buffers.begin()->second->get_data()) {
  const auto buffer = buffers.find(key);
  return buffer == buffers.end() || !buffer->second ? nullptr : buffer->second->get_data();
}

}  // namespace

SensorCallbacks* get_sensor_callbacks(NorvikRobot& robot) { return dynamic_cast<SensorCallbacks*>(&robot); }

SensorBase::SensorBase() = default;

SensorBase::~SensorBase() {
  param_readers_.clear();
  infrared_readers_.clear();
  readers_.clear();
}

bool SensorBase::sensor_base_init(const std::set<SensorType>& sensors, MachineType machine_type, bool enable_sync) {
  SDK_LOG(debug) << "debug log enable";
  ovimux::OvimuxInit();
  sync_mode_ = enable_sync;
  machine_type_ = machine_type;
  for (const SensorType sensor : sensors) {
    if (!is_sensor_valid_for_machine(sensor, machine_type)) {
      SDK_LOG(error) << "Sensor " << sensor_type_to_string(sensor) << " is not valid for machine type "
                     << static_cast<int32_t>(machine_type);
      return false;
    }
  }
  std::call_once(init_once_, [&] { init_success_ = open_channels(sensors); });
  return init_success_;
}

// ---- Polling ----

template <typename T>
std::shared_ptr<T> SensorBase::poll(const char* operation, bool is_of_family, SensorType sensor,
                                    const Buffers<T>& buffers) const {
  if (!is_of_family) {
    SDK_LOG(error) << operation << " error,input invalid";
    return nullptr;
  }
  return poll_enabled(operation, sensor, buffers);
}

template <typename T>
std::shared_ptr<T> SensorBase::poll_enabled(const char* operation, SensorType sensor, const Buffers<T>& buffers) const {
  if (!is_enabled(sensor)) {
    SDK_LOG(error) << operation << " error,sensor interface init failed";
    return nullptr;
  }
  auto data = latest(buffers, sensor);
  if (!data) {
    SDK_LOG(error) << operation << " error,data fetch failed";
    return nullptr;
  }
  SDK_LOG(info) << operation << " success";
  return data;
}

std::shared_ptr<RgbData> SensorBase::get_rgb_data(SensorType sensor) {
  return poll("get_rgb_data", families_.rgb.count(sensor) > 0, sensor, rgb_buffers_);
}

std::shared_ptr<DepthData> SensorBase::get_depth_data(SensorType sensor) {
  return poll("get_depth_data", families_.depth.count(sensor) > 0, sensor, depth_buffers_);
}

std::shared_ptr<IrData> SensorBase::get_ir_data(SensorType sensor) {
  return poll("get_ir_data", families_.ir.count(sensor) > 0, sensor, ir_buffers_);
}

std::shared_ptr<CameraInfo> SensorBase::get_camera_intrinsic(SensorType sensor) {
  return poll("get_camera_intrinsic", families_.is_camera(sensor), sensor, camera_info_buffers_);
}

std::shared_ptr<LidarData> SensorBase::get_lidar_data(SensorType sensor) {
  if (families_.lidar.count(sensor) == 0) {
    SDK_LOG(error) << "get_lidar_data error: sensor " << sensor_type_to_string(sensor)
                   << " is not initialized or not supported on this machine";
    return nullptr;
  }
  return poll_enabled("get_lidar_data", sensor, lidar_buffers_);
}

std::shared_ptr<ImuData> SensorBase::get_imu_data(SensorType sensor) { return get_imu_data_from_topic(sensor); }

std::shared_ptr<ImuData> SensorBase::get_imu_data_from_topic(SensorType sensor) {
  const std::string name = sensor_type_to_string(sensor);
  if (families_.imu.count(sensor) == 0) {
    SDK_LOG(error) << "get_imu_data error, input invalid, imu_type: " << name;
    return nullptr;
  }
  if (!is_enabled(sensor)) {
    SDK_LOG(error) << "get_imu_data error, sensor interface init failed, imu_type: " << name;
    return nullptr;
  }
  const auto buffer = imu_buffers_.find(sensor);
  if (buffer == imu_buffers_.end() || !buffer->second) {
    SDK_LOG(error) << "get_imu_data error, buffer not found, imu_type: " << name;
    return nullptr;
  }
  auto data = buffer->second->get_data();
  if (!data) {
    SDK_LOG(error) << "get_imu_data error, data fetch failed, imu_type: " << name;
    return nullptr;
  }
  SDK_LOG(info) << "get_imu_data success, imu_type: " << name;
  return data;
}

std::shared_ptr<UltrasonicData> SensorBase::get_ultrasonic_data(UltrasonicType type) {
  if (!is_enabled(SensorType::BASE_ULTRASONIC)) {
    SDK_LOG(error) << "get_ultrasonic_data error,sensor interface init failed (BASE_ULTRASONIC not enabled)";
    return nullptr;
  }
  if (static_cast<uint32_t>(type) > kLastUltrasonic) {
    SDK_LOG(error) << "get_ultrasonic_data error,input invalid";
    return nullptr;
  }
  auto data = latest(ultrasonic_buffers_, type);
  if (!data) {
    SDK_LOG(error) << "get_ultrasonic_data error,data fetch failed";
    return nullptr;
  }
  SDK_LOG(info) << "get_ultrasonic_data success";
  return data;
}

std::pair<std::vector<double>, int64_t> SensorBase::get_sensor_extrinsic(SensorType sensor,
                                                                         const std::string& reference_frame) {
  const char* const frame = sensor_frame(sensor, machine_type_);
  if (frame == nullptr) {
    return {{}, 0};
  }
  return get_transform(reference_frame.empty() ? "base_link" : reference_frame, frame, 0, kExtrinsicTimeoutMs);
}

// ---- Registration of callbacks ----

template <typename T>
ControlStatus SensorBase::add_callback(const char* operation, const char* success, bool is_of_family, SensorType sensor,
                                       CallbackTable<T>& table, std::function<void(std::shared_ptr<T>)> callback) {
  if (!is_of_family) {
    SDK_LOG(error) << operation << " invalid input";
    return ControlStatus::INVALID_INPUT;
  }
  if (!is_enabled(sensor)) {
    SDK_LOG(error) << operation << " init failed";
    return ControlStatus::INIT_FAILED;
  }
  table.add(sensor, std::move(callback));
  SDK_LOG(info) << success;
  return ControlStatus::SUCCESS;
}

ControlStatus SensorBase::add_rgb_data_callback(SensorType sensor,
                                                std::function<void(std::shared_ptr<RgbData>)> callback) {
  return add_callback("add_rgb_data_callback", "add_camera_rgb_callback success", families_.rgb.count(sensor) > 0,
                      sensor, rgb_callbacks_, std::move(callback));
}

ControlStatus SensorBase::add_depth_data_callback(SensorType sensor,
                                                  std::function<void(std::shared_ptr<DepthData>)> callback) {
  return add_callback("add_depth_data_callback", "add_camera_depth_callback success", families_.depth.count(sensor) > 0,
                      sensor, depth_callbacks_, std::move(callback));
}

ControlStatus SensorBase::add_ir_data_callback(SensorType sensor,
                                               std::function<void(std::shared_ptr<IrData>)> callback) {
  return add_callback("add_ir_data_callback", "add_ir_data_callback success", families_.ir.count(sensor) > 0, sensor,
                      ir_callbacks_, std::move(callback));
}

ControlStatus SensorBase::add_camera_intrinsic_callback(SensorType sensor,
                                                        std::function<void(std::shared_ptr<CameraInfo>)> callback) {
  const bool is_of_family = families_.rgb.count(sensor) > 0 || families_.depth.count(sensor) > 0;
  return add_callback("add_camera_intrinsic_callback", "add_camera_intrinsic_callback success", is_of_family, sensor,
                      camera_info_callbacks_, std::move(callback));
}

ControlStatus SensorBase::add_lidar_callback(SensorType sensor,
                                             std::function<void(std::shared_ptr<LidarData>)> callback) {
  return add_callback("add_lidar_callback", "add_lidar_callback success", true, sensor, lidar_callbacks_,
                      std::move(callback));
}

// ---- Synchronised observation ----

void SensorBase::update_joint_sync_history(const std::shared_ptr<JointStateMessage>& state) {
  if (sync_mode_) {
    histories_.push_joint_history(state);
  }
}

std::shared_ptr<SyncedObservation> SensorBase::get_synced_observation(const std::vector<SensorType>& cameras,
                                                                      bool with_joint_state) {
  if (!sync_mode_) {
    SDK_LOG(error) << "get_synced_observation error,sync mode is disabled";
    return nullptr;
  }
  if (cameras.empty()) {
    SDK_LOG(error) << "get_synced_observation error,input invalid: empty cameras";
    return nullptr;
  }
  auto observation = std::make_shared<SyncedObservation>();
  int64_t time_ns = 0;
  if (!add_anchor(cameras.front(), *observation, time_ns)) {
    return nullptr;
  }
  for (size_t i = 1; i < cameras.size(); ++i) {
    if (!add_closest(cameras[i], time_ns, *observation)) {
      return nullptr;
    }
  }
  if (with_joint_state && !add_joint_state(time_ns, *observation)) {
    return nullptr;
  }
  return observation;
}

bool SensorBase::add_anchor(SensorType camera, SyncedObservation& observation, int64_t& time_ns) const {
  const bool is_rgb = families_.rgb.count(camera) > 0;
  if (!is_rgb && families_.depth.count(camera) == 0) {
    SDK_LOG(error) << "get_synced_observation error,input invalid anchor camera";
    return false;
  }
  const auto rgb = is_rgb ? histories_.rgb(camera)->newest() : nullptr;
  const auto depth = is_rgb ? nullptr : histories_.depth(camera)->newest();
  if (!rgb && !depth) {
    SDK_LOG(error) << "get_synced_observation error,anchor frame unavailable";
    return false;
  }
  if (rgb) {
    time_ns = rgb->timestamp_ns;
    observation.rgb_data[camera] = rgb;
  } else {
    time_ns = depth->timestamp_ns;
    observation.depth_data[camera] = depth;
  }
  return true;
}

bool SensorBase::add_closest(SensorType camera, int64_t time_ns, SyncedObservation& observation) const {
  if (families_.rgb.count(camera) > 0) {
    const auto frame = histories_.rgb(camera)->closest(time_ns);
    if (!frame) {
      SDK_LOG(error) << "get_synced_observation error,failed to match rgb camera";
      return false;
    }
    observation.rgb_data[camera] = frame;
    return true;
  }
  if (families_.depth.count(camera) > 0) {
    const auto frame = histories_.depth(camera)->closest(time_ns);
    if (!frame) {
      SDK_LOG(error) << "get_synced_observation error,failed to match depth camera";
      return false;
    }
    observation.depth_data[camera] = frame;
    return true;
  }
  SDK_LOG(error) << "get_synced_observation error,input contains non-camera sensor";
  return false;
}

bool SensorBase::add_joint_state(int64_t time_ns, SyncedObservation& observation) const {
  observation.joint_state = histories_.joints().closest(time_ns);
  if (!observation.joint_state) {
    SDK_LOG(error) << "get_synced_observation error,failed to match joint state";
    return false;
  }
  return true;
}

}  // namespace norvik::sdk
