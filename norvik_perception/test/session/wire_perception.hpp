#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "norvik/perception_proto/perception.pb.h"
#include "ovimux/dds/service_server_base.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::test {

// A perception service that answers every command but the first `unanswered`, and answers run_once with `result` as
// well.
class WirePerception {
 public:
  explicit WirePerception(perception_proto::DetectionResult result, int unanswered = 0)
      : result_(std::move(result)), unanswered_(unanswered) {}

  std::vector<perception_proto::ServerCommand> commands() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return commands_;
  }

 private:
  void answer(const ovimux::RequestContext& context, const std::vector<uint8_t>& bytes) {
    perception_proto::ServerCommand command;
    command.ParseFromArray(bytes.data(), static_cast<int>(bytes.size()));
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      commands_.push_back(command);
    }
    if (unanswered_-- > 0) return;
    server_.Reply(context, perception_proto::CommandReply().SerializeAsString());
    if (command.command() == "run_once") {
      (command.task_name() == "light_stereo" ? light_ : foundation_)->Publish(result_);
    }
  }

  static ovimux::Qos large() {
    ovimux::Qos qos;
    qos.payload_kind = ovimux::kLargePayloadKind;
    return qos;
  }

  using Writer = std::shared_ptr<ovimux::SerializationWriter<perception_proto::DetectionResult>>;

  const perception_proto::DetectionResult result_;
  std::atomic<int> unanswered_;
  mutable std::mutex mutex_;
  std::vector<perception_proto::ServerCommand> commands_;
  std::unique_ptr<ovimux::Node> node_ = ovimux::CreateNode("wire_perception", "");
  Writer light_ = node_->CreateWriter<perception_proto::DetectionResult>("/norvik_perception/stereo_depth", large());
  Writer foundation_ =
      node_->CreateWriter<perception_proto::DetectionResult>("/norvik_perception/foundation_stereo_depth", large());
  ovimux::ServiceServerBase server_{"/norvik_perception/command", ovimux::RpcQos{},
                                    [this](const auto& context, const auto& bytes) { answer(context, bytes); }};
};

}  // namespace norvik::test
