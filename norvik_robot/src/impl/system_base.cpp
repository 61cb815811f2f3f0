#include "impl/system_base.hpp"

#include <algorithm>
#include <chrono>
#include <exception>
#include <optional>
#include <string_view>

#include "impl/common/log_created.hpp"
#include "impl/common/proto_time.hpp"
#include "impl/system/bms_info.hpp"
#include "impl/system/device_info.hpp"
#include "impl/system/log_reader.hpp"
#include "logger.hpp"
#include "ovimux/basic_interface/clock.hpp"
#include "ovimux/basic_interface/duration.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"
#include "ovimux/tf2_ovimux/transform_listener.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

using ovimux::basic_interface::Clock;
using ovimux::basic_interface::Duration;
using ovimux::basic_interface::Time;
using ovimux::tf2_ovimux::Buffer;
using ovimux::tf2_ovimux::TransformListener;

constexpr auto kClockType = ovimux::basic_interface::RCL_SYSTEM_TIME;
constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr int64_t kNanosecondsPerMillisecond = 1'000'000;
constexpr int64_t kTransformCacheNs = 10 * kNanosecondsPerSecond;
constexpr int64_t kEndEffectorTimeoutMs = 100;
constexpr auto kFirstReportDelay = std::chrono::seconds(2);

// Time-outs beyond three centuries are as good as three centuries.
Duration to_duration(int64_t milliseconds) {
  constexpr int64_t kLimit = INT64_MAX / kNanosecondsPerMillisecond;
  return Duration(std::clamp(milliseconds, -kLimit, kLimit) * kNanosecondsPerMillisecond);
}

void convert_to_pose(const spatial_proto::TransformMsg& message, std::array<double, 7>& pose, int64_t& timestamp_ns) {
  const auto& translation = message.transform().translation();
  const auto& rotation = message.transform().rotation();
  pose = {translation.x(), translation.y(), translation.z(), rotation.x(), rotation.y(), rotation.z(), rotation.w()};
  timestamp_ns = header_time_ns_integer(message.header());
}

// The oldest time that lies within the last `window_s` seconds; no limit for 0.
std::optional<std::chrono::milliseconds> oldest_wanted(uint64_t window_s) {
  if (window_s == 0) {
    return std::nullopt;
  }
  constexpr uint64_t kLongestWindow = INT64_MAX / kNanosecondsPerSecond;
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto window = std::chrono::seconds(std::min(window_s, kLongestWindow));
  return std::chrono::ceil<std::chrono::milliseconds>(now - window);
}

}  // namespace

SystemBase::SystemBase()
    : log_level_names_{{LogLevel::trace, "trace"},     {LogLevel::debug, "debug"}, {LogLevel::info, "info"},
                       {LogLevel::warning, "warning"}, {LogLevel::error, "error"}, {LogLevel::critical, "critical"}} {}

SystemBase::~SystemBase() {
  // Before the buffers that their callbacks write to.
  bms_info_reader_.reset();
  onboard_config_reader_.reset();
  tf_listener_.reset();
}

bool SystemBase::system_base_init() {
  ovimux::OvimuxInit();
  std::call_once(init_once_, [this] { init_success_ = open_channels(); });
  SDK_LOG(info) << "SystemBase::init";
  return init_success_;
}

bool SystemBase::open_channels() {
  node_ = ovimux::CreateNode("system_sdk_node", "");
  if (!SDK_LOG_IF_EMPTY(node_, "system_sdk_node create fail") || !open_transform_buffer() ||
      !open_onboard_config_reader() || !open_bms_info_reader()) {
    return false;
  }
  SDK_LOG(info) << "SystemBase init success";
  return true;
}

bool SystemBase::open_transform_buffer() {
  clock_ = std::make_shared<Clock>(kClockType);
  tf_buffer_ = std::make_shared<Buffer>(clock_, Duration(kTransformCacheNs));
  tf_listener_ = std::make_shared<TransformListener>(tf_buffer_, node_.get());
  tf_buffer_->setUsingDedicatedThread(true);
  return SDK_LOG_IF_EMPTY(clock_, "clock_ create fail") && SDK_LOG_IF_EMPTY(tf_buffer_, "tf_buffer_ create fail") &&
         SDK_LOG_IF_EMPTY(tf_listener_, "tf_listener_ create fail");
}

bool SystemBase::open_onboard_config_reader() {
  onboard_config_reader_ = node_->CreateReader<OnboardConfig>(
      "/norvik/mission_manager/onboard_config",
      [this](const std::shared_ptr<OnboardConfig>& message, const void*) { onboard_config_callback(message); },
      ovimux::Qos());
  return SDK_LOG_CREATED(onboard_config_reader_, "create onboard_config_reader success",
                         "create onboard_config_reader fail");
}

bool SystemBase::open_bms_info_reader() {
  bms_info_buffer_.set_data(std::make_shared<BmsInfo>());
  bms_info_reader_ = node_->CreateReader(
      "bms", [this](const void* data, int size, const void*) { bms_info_callback(data, size); }, ovimux::Qos(), nullptr,
      true);
  return SDK_LOG_CREATED(bms_info_reader_, "create bms_info_reader success", "create bms_info_reader fail");
}

void SystemBase::onboard_config_callback(const std::shared_ptr<OnboardConfig>& message) {
  if (!message) {
    SDK_LOG(error) << "onboard_config_callback message is nullptr";
    return;
  }
  onboard_config_buffer_.set_data(message);
  robot_model_check_.see(message->robot_type());
}

void SystemBase::bms_info_callback(const void* data, int size) {
  if (data == nullptr || size <= 0) {
    SDK_LOG(error) << "bms_info_callback: data invalid";
    bms_info_buffer_.set_data(nullptr);
    return;
  }
  const std::string_view text(static_cast<const char*>(data), static_cast<size_t>(size));
  try {
    bms_info_buffer_.set_data(std::make_shared<BmsInfo>(parse_bms_info(text)));
  } catch (const std::exception& error) {
    SDK_LOG(error) << "bms_info_callback: json parse error: " << error.what();
  }
}

std::shared_ptr<DeviceInfo> SystemBase::get_device_information() {
  ovimux::sleep_while_running(std::chrono::steady_clock::now() + kFirstReportDelay);
  const auto config = onboard_config_buffer_.get_data();
  if (!config) {
    SDK_LOG(warning) << "onboard_config is nullptr, returning default device info";
    return std::make_shared<DeviceInfo>(default_device_info());
  }
  return std::make_shared<DeviceInfo>(device_info_from(*config));
}

std::shared_ptr<BmsInfo> SystemBase::get_bms_information() { return bms_info_buffer_.get_data(); }

ControlStatus SystemBase::get_transform(const std::string& target_frame, const std::string& source_frame,
                                        int64_t time_ns, int64_t timeout_ms, std::array<double, 7>& pose,
                                        int64_t& timestamp_ns) {
  const Time time(time_ns, kClockType);
  const Duration timeout = to_duration(timeout_ms);
  if (!tf_buffer_) {
    SDK_LOG(error) << "tf_buffer_ is nullptr";
    return ControlStatus::INIT_FAILED;
  }
  if (!tf_buffer_->canTransform(target_frame, source_frame, time, timeout)) {
    SDK_LOG(error) << "Transform from " << source_frame << " to " << target_frame << " failed";
    return ControlStatus::DATA_FETCH_FAILED;
  }
  convert_to_pose(tf_buffer_->lookupTransform(target_frame, source_frame, time, timeout), pose, timestamp_ns);
  return ControlStatus::SUCCESS;
}

std::pair<std::vector<double>, int64_t> SystemBase::get_transform(const std::string& target_frame,
                                                                  const std::string& source_frame, int64_t time_ns,
                                                                  int64_t timeout_ms) {
  std::array<double, 7> pose{};
  int64_t timestamp_ns = 0;
  try {
    if (get_transform(target_frame, source_frame, time_ns, timeout_ms, pose, timestamp_ns) == ControlStatus::SUCCESS) {
      return {{pose.begin(), pose.end()}, timestamp_ns};
    }
  } catch (const std::exception& error) {
    // The samples can leave the cache between the question and the look-up.
    SDK_LOG(error) << "Transform from " << source_frame << " to " << target_frame << " failed: " << error.what();
  }
  return {{}, timestamp_ns};
}

ControlStatus SystemBase::get_end_effector_pose(const std::string& frame, std::array<double, 7>& pose,
                                                int64_t& timestamp_ns, const std::string& reference_frame) {
  return get_transform(reference_frame, frame, 0, kEndEffectorTimeoutMs, pose, timestamp_ns);
}

std::vector<std::string> SystemBase::get_frame_names() {
  if (!tf_buffer_) {
    SDK_LOG(error) << "tf_buffer_ is nullptr";
    return {};
  }
  return tf_buffer_->getAllFrameNames();
}

std::shared_ptr<LogInfo> SystemBase::get_log_information(uint64_t window_s, LogLevel level) {
  const auto name = log_level_names_.find(level);
  if (name == log_level_names_.end()) {
    return nullptr;
  }
  auto info = std::make_shared<LogInfo>();
  info->level = name->second;

  const std::string log_dir = Logger::get_instance().get_log_path();
  const std::string log_file_name = Logger::get_instance().get_log_file_name();
  SDK_LOG(info) << "log_dir: " << log_dir;
  SDK_LOG(info) << "log_file_name: " << log_file_name;
  const auto files = find_log_files(log_dir, log_file_name);
  if (!files) {
    return info;
  }
  LogExtract extract = extract_log_messages(*files, info->level, oldest_wanted(window_s));
  SDK_LOG(info) << "Read total " << extract.total_lines << " lines, matched " << extract.matched_lines
                << " lines for level: " << info->level;
  info->content = std::move(extract.content);
  return info;
}

void SystemBase::request_shutdown() {
  SDK_LOG(info) << "SystemBase::request_shutdown";
  ovimux::AsyncShutdown();
}

void SystemBase::wait_for_shutdown() {
  SDK_LOG(info) << "SystemBase::wait_for_shutdown";
  ovimux::WaitForShutdown();
}

bool SystemBase::is_running() {
  SDK_LOG(debug) << "SystemBase::is_running";
  return ovimux::OK();
}

void SystemBase::destroy() {
  SDK_LOG(info) << "SystemBase::destroy";
  ovimux::Clear();
  Logger::get_instance().shutdown();
}

void SystemBase::register_exit_callback(std::function<void()> callback) {
  SDK_LOG(debug) << "SystemBase::register_exit_callback";
  ovimux::OvimuxSetExitCallback(std::move(callback), {});
}

}  // namespace norvik::sdk
