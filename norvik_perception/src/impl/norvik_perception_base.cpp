// The session with the perception service: start, commands, what its messages bring.

#include "impl/norvik_perception_base.hpp"

#include <chrono>

#include "impl/results/detection_conversion.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr const char* kLightTopic = "/norvik_perception/stereo_depth";
constexpr const char* kFoundationTopic = "/norvik_perception/foundation_stereo_depth";
constexpr const char* kStatusTopic = "/norvik_perception/status";
constexpr const char* kCommandService = "/norvik_perception/command";

constexpr std::chrono::seconds kServerTimeout{10};
constexpr std::chrono::seconds kReplyTimeout{2};
constexpr int kAttempts = 5;

// Clouds do not fit the small envelope.
ovimux::Qos result_qos() {
  ovimux::Qos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  qos.queue_depth = 100;
  return qos;
}

}  // namespace

// The service hosts both tasks under one model.
NorvikPerceptionBase::NorvikPerceptionBase(const std::string& camera_name)
    : module_configs_{
          {LIGHT_STEREO, {"FOUNDATION_STEREO", "light_stereo", "LIGHT_STEREO_TASK_ID", camera_name}},
          {FOUNDATION_STEREO, {"FOUNDATION_STEREO", "foundation_stereo", "FOUNDATION_STEREO_TASK_ID", camera_name}}} {
  for (const auto& [module, config] : module_configs_) {
    module_results_[module];
  }
}

// The readers wait for their callbacks. The service keeps its modules: other programs use them.
NorvikPerceptionBase::~NorvikPerceptionBase() {
  result_readers_.clear();
  status_reader_.reset();
  for (auto& [module, result] : module_results_) {
    result.stop();
  }
}

bool NorvikPerceptionBase::perception_base_init(const std::set<PerceptionModule>& modules) {
  std::call_once(init_once_, [&] {
    if (open_channels(modules)) {
      command_client_->WaitForServerConnected(kServerTimeout);
      load_modules(modules);
    }
  });
  return initialized_;
}

bool NorvikPerceptionBase::open_channels(const std::set<PerceptionModule>& modules) {
  ovimux::OvimuxInit();
  SDK_LOG(info) << "perception OvimuxInit done";
  node_ = ovimux::CreateNode("norvik_sdk_perception", "");
  if (!node_) {
    SDK_LOG(error) << "norvik_sdk_perception_node_ create fail";
    return false;
  }
  const auto wanted = [&](PerceptionModule module) { return modules.count(module) != 0; };
  return (!wanted(LIGHT_STEREO) || open_result_reader(kLightTopic, &NorvikPerceptionBase::light_stereo_callback)) &&
         (!wanted(FOUNDATION_STEREO) ||
          open_result_reader(kFoundationTopic, &NorvikPerceptionBase::foundation_stereo_callback)) &&
         open_status_reader() && open_client();
}

bool NorvikPerceptionBase::open_result_reader(
    const char* topic, void (NorvikPerceptionBase::*callback)(const std::shared_ptr<ResultMessage>&)) {
  auto reader = node_->CreateReader<ResultMessage>(
      topic, [this, callback](const auto& message, const void*) { (this->*callback)(message); }, result_qos());
  if (!reader) {
    SDK_LOG(error) << "Data reader " << topic << " created failed";
    return false;
  }
  result_readers_.push_back(std::move(reader));
  SDK_LOG(info) << "Data reader " << topic << " created";
  return true;
}

bool NorvikPerceptionBase::open_status_reader() {
  status_reader_ = node_->CreateReader<StatusMessage>(
      kStatusTopic, [this](const auto& message, const void*) { status_callback(message); }, ovimux::Qos{});
  if (!status_reader_) {
    SDK_LOG(error) << "Status reader created failed";
    return false;
  }
  SDK_LOG(info) << "Status reader created";
  return true;
}

bool NorvikPerceptionBase::open_client() {
  command_client_ = node_->CreateClient<perception_proto::ServerCommand, perception_proto::CommandReply>(
      kCommandService, ovimux::RpcQos{});
  if (!command_client_) {
    SDK_LOG(error) << "Command client " << kCommandService << " created failed";
    return false;
  }
  SDK_LOG(info) << "Command client " << kCommandService << " created";
  return true;
}

void NorvikPerceptionBase::load_modules(const std::set<PerceptionModule>& modules) {
  initialized_ = true;  // send_command() asks for it.
  for (const PerceptionModule module : modules) {
    if (!send_command(module, "load")) {
      SDK_LOG(error) << "Failed to load module " << static_cast<int>(module);
      initialized_ = false;
      return;
    }
  }
}

bool NorvikPerceptionBase::send_command(PerceptionModule module, const std::string& command) {
  if (!initialized_) {
    SDK_LOG(error) << "send_command: not initialized";
    return false;
  }
  const auto config = module_configs_.find(module);
  if (config == module_configs_.end()) {
    SDK_LOG(error) << "send_command: module not found in config map";
    return false;
  }
  const auto request = std::make_shared<perception_proto::ServerCommand>();
  request->set_model_name(config->second.model_name);
  request->set_command(command);
  request->set_task_name(config->second.task_name);
  request->set_camera_name(config->second.camera_name);
  request->set_task_id(config->second.task_id);
  for (int attempt = 1; attempt <= kAttempts; ++attempt) {
    if (const auto reply = command_client_->SendRequest(request, kReplyTimeout)) {
      SDK_LOG(info) << "RPC " << command << " success, reply modelname: " << reply->model_name()
                    << " taskname: " << reply->task_name() << " status: " << reply->status() << " (attempt " << attempt
                    << ")";
      return true;
    }
    SDK_LOG(warning) << "RPC " << command << " SendRequest failed (null reply), attempt " << attempt;
  }
  SDK_LOG(error) << "RPC " << command << " SendRequest failed after " << kAttempts << " attempts (null reply)";
  return false;
}

bool NorvikPerceptionBase::run_once(PerceptionModule module) { return send_command(module, "run_once"); }

bool NorvikPerceptionBase::wait_for_new_result(PerceptionModule module, double timeout_s) {
  if (!initialized_) {
    SDK_LOG(error) << "wait_for_new_result: not initialized";
    return false;
  }
  const auto result = module_results_.find(module);
  if (result == module_results_.end()) {
    SDK_LOG(error) << "wait_for_new_result: module not registered";
    return false;
  }
  if (!(timeout_s >= 0.0)) {
    SDK_LOG(error) << "wait_for_new_result: invalid timeout_s " << timeout_s;
    return false;
  }
  if (!result->second.wait_for_new(timeout_s)) {
    SDK_LOG(warning) << "wait: timed out waiting for module " << static_cast<int>(module);
    return false;
  }
  return true;
}

bool NorvikPerceptionBase::get_latest_result(PerceptionModule module, DetectionResult& out) {
  if (!initialized_) {
    SDK_LOG(error) << "get_latest_result: not initialized";
    return false;
  }
  const auto result = module_results_.find(module);
  if (result == module_results_.end()) {
    SDK_LOG(error) << "get_latest_result: module not registered";
    return false;
  }
  const auto latest = result->second.latest();
  return latest != nullptr && PerceptionUtils::msg_to_struct(latest, out);
}

void NorvikPerceptionBase::update_result(PerceptionModule module, const std::shared_ptr<ResultMessage>& message) {
  const auto result = module_results_.find(module);
  if (result == module_results_.end()) {
    SDK_LOG(error) << "update_result: module not registered";
    return;
  }
  result->second.put(message);
  SDK_LOG(debug) << "update_result: new result for module " << static_cast<int>(module);
}

void NorvikPerceptionBase::light_stereo_callback(const std::shared_ptr<ResultMessage>& message) {
  update_result(LIGHT_STEREO, message);
}

void NorvikPerceptionBase::foundation_stereo_callback(const std::shared_ptr<ResultMessage>& message) {
  update_result(FOUNDATION_STEREO, message);
}

void NorvikPerceptionBase::status_callback(const std::shared_ptr<StatusMessage>& message) {
  SDK_LOG(info) << "receive status_callback taskname: " << message->task_name()
                << " status code: " << message->status_code() << " description: " << message->description();
}

}  // namespace norvik::sdk
