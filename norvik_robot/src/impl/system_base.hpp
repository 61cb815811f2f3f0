#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <norvik_sdk/norvik_robot.hpp>

#include "data_buffer.hpp"
#include "impl/system/robot_model_check.hpp"
#include "norvik/spatial_proto/transform.pb.h"
#include "norvik/system_proto/mission_manager_proto/onboard_config.pb.h"
#include "ovimux/base/raw_endpoints.hpp"
#include "ovimux/base/reader_base.hpp"

namespace norvik::ovimux {
class Node;
namespace basic_interface {
class Clock;
}
namespace tf2_ovimux {
class Buffer;
class TransformListener;
}  // namespace tf2_ovimux
}  // namespace norvik::ovimux

namespace norvik::sdk {

// What is neither a sensor nor a joint: transforms, device and battery information, the SDK's own log files, and the
// shutdown of the process.
class SystemBase : public virtual NorvikRobot {
 public:
  SystemBase();
  ~SystemBase() override;

  // The model that the robot is expected to be; a record warns when it reports another.
  void expect_robot_model(MachineType model) { robot_model_check_.expect(model); }

  // Opens the channels at the first call; every call returns how that went.
  bool system_base_init();

  // As the public form; `pose` and `timestamp_ns` are valid on SUCCESS. INIT_FAILED, DATA_FETCH_FAILED.
  ControlStatus get_transform(const std::string& target_frame, const std::string& source_frame, int64_t time_ns,
                              int64_t timeout_ms, std::array<double, 7>& pose, int64_t& timestamp_ns);

  // The newest pose of `frame` in `reference_frame`, waiting 100 ms for it.
  ControlStatus get_end_effector_pose(const std::string& frame, std::array<double, 7>& pose, int64_t& timestamp_ns,
                                      const std::string& reference_frame);

  std::pair<std::vector<double>, int64_t> get_transform(const std::string& target_frame,
                                                        const std::string& source_frame, int64_t time_ns,
                                                        int64_t timeout_ms) override;
  std::vector<std::string> get_frame_names() override;
  std::shared_ptr<DeviceInfo> get_device_information() override;
  std::shared_ptr<BmsInfo> get_bms_information() override;
  std::shared_ptr<LogInfo> get_log_information(uint64_t window_s, LogLevel level) override;
  bool is_running() override;
  void request_shutdown() override;
  void wait_for_shutdown() override;
  void destroy() override;
  void register_exit_callback(std::function<void()> callback) override;

  // Run on workers of the middleware. A report without content empties the battery record, one that cannot be parsed
  // leaves it.
  void onboard_config_callback(const std::shared_ptr<system_proto::mission_manager_proto::OnboardConfig>& message);
  void bms_info_callback(const void* data, int size);

 private:
  using OnboardConfig = system_proto::mission_manager_proto::OnboardConfig;

  bool open_channels();
  bool open_transform_buffer();
  bool open_onboard_config_reader();
  bool open_bms_info_reader();

  RobotModelCheck robot_model_check_;
  std::once_flag init_once_;
  bool init_success_ = false;  // Written and read through init_once_ only.
  std::shared_ptr<ovimux::basic_interface::Clock> clock_;
  std::shared_ptr<ovimux::tf2_ovimux::Buffer> tf_buffer_;
  std::shared_ptr<ovimux::tf2_ovimux::TransformListener> tf_listener_;
  std::unique_ptr<ovimux::Node> node_;
  DataBuffer<OnboardConfig> onboard_config_buffer_;
  std::shared_ptr<ovimux::SerializationReader<OnboardConfig>> onboard_config_reader_;
  std::shared_ptr<ovimux::RawReader> bms_info_reader_;
  DataBuffer<BmsInfo> bms_info_buffer_;
  const std::unordered_map<LogLevel, std::string> log_level_names_;
};

}  // namespace norvik::sdk
