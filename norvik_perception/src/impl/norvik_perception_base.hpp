#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include <norvik_sdk/norvik_perception.hpp>

#include "impl/session/result_mailbox.hpp"
#include "norvik/perception_proto/perception.pb.h"
#include "ovimux/base/client_base.hpp"
#include "ovimux/base/reader_base.hpp"

namespace norvik::ovimux {
class Node;
}

namespace norvik::sdk {

// The client of the perception service. The model classes choose the camera and the log's folder.
class NorvikPerceptionBase : public NorvikPerception {
 public:
  explicit NorvikPerceptionBase(const std::string& camera_name);
  ~NorvikPerceptionBase() override;

  bool run_once(PerceptionModule module) override;
  bool wait_for_new_result(PerceptionModule module, double timeout_s) override;
  bool get_latest_result(PerceptionModule module, DetectionResult& out) override;

 protected:
  using ResultMessage = perception_proto::DetectionResult;
  using StatusMessage = perception_proto::PerceptionStatus;
  using CommandClient = ovimux::SerializationClient<perception_proto::ServerCommand, perception_proto::CommandReply>;

  // What tells a command of one module from the others'.
  struct ModuleCommandConfig {
    std::string model_name;
    std::string task_name;
    std::string task_id;
    std::string camera_name;
  };
  using ModuleResult = ResultMailbox;

  // Starts up once; a later call gives the first one's outcome.
  bool perception_base_init(const std::set<PerceptionModule>& modules);

  bool send_command(PerceptionModule module, const std::string& command);

  // Callbacks of the readers, on the worker pool.
  void update_result(PerceptionModule module, const std::shared_ptr<ResultMessage>& message);
  void light_stereo_callback(const std::shared_ptr<ResultMessage>& message);
  void foundation_stereo_callback(const std::shared_ptr<ResultMessage>& message);
  void status_callback(const std::shared_ptr<StatusMessage>& message);

  std::atomic<bool> initialized_{false};
  std::shared_ptr<CommandClient> command_client_;

 private:
  bool open_channels(const std::set<PerceptionModule>& modules);
  bool open_result_reader(const char* topic,
                          void (NorvikPerceptionBase::*callback)(const std::shared_ptr<ResultMessage>&));
  bool open_status_reader();
  bool open_client();
  void load_modules(const std::set<PerceptionModule>& modules);

  std::once_flag init_once_;
  std::shared_ptr<ovimux::Node> node_;
  std::vector<std::shared_ptr<ovimux::SerializationReader<ResultMessage>>> result_readers_;
  std::shared_ptr<ovimux::SerializationReader<StatusMessage>> status_reader_;
  // Both are complete with the constructor, so that they are read without a lock.
  std::unordered_map<PerceptionModule, ModuleCommandConfig> module_configs_;
  std::unordered_map<PerceptionModule, ModuleResult> module_results_;
};

}  // namespace norvik::sdk
