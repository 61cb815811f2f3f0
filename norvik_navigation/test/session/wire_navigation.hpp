#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "../fake_service.hpp"
#include "impl/boxes/fusion_box.hpp"
#include "ovimux/dds/service_server_base.hpp"
#include "ovimux/node.hpp"

namespace norvik::test {

class WireService {
 public:
  using Answer = std::function<std::string(const std::string&)>;
  WireService(const std::string& service, Answer answer)
      : answer_(std::move(answer)),
        server_(service, ovimux::RpcQos{}, [this](const auto& context, const std::vector<uint8_t>& bytes) {
          server_.Reply(context, answer_(std::string(bytes.begin(), bytes.end())));
        }) {}

 private:
  const Answer answer_;
  ovimux::ServiceServerBase server_;  // Last: requests arrive as soon as it exists.
};

// A robot that accepts everything, reports each task as `status`, finds every way, and repeats where it is.
class WireNavigation {
 public:
  explicit WireNavigation(int32_t status) : status_(status), reporter_([this] { report(); }) {}
  ~WireNavigation() {
    over_ = true;
    reporter_.join();
  }

  bool has_initial_pose() const { return has_initial_pose_; }

 private:
  template <typename Message>
  using Writer = std::shared_ptr<ovimux::SerializationWriter<Message>>;
  using Evaluation = kelvorn_proto::EvaluateGoalAvailabilityResponse;

  template <typename Message>
  Writer<Message> writer(const std::string& topic) const {
    return node_->CreateWriter<Message>(topic, ovimux::Qos{});
  }

  template <typename Request>
  std::string accept(const std::string& bytes) {
    Request request;
    EXPECT_TRUE(request.ParseFromString(bytes));
    Evaluation evaluation;
    evaluation.set_task_id(request.task_id());
    evaluation.set_available(true);
    evaluations_->Publish(evaluation);
    results_->Publish(*make_result(request.task_id(), status_));
    return make_reply(NavigationResponse::SUCCESS)->SerializeAsString();
  }

  static std::string configure(const std::string& bytes) {
    sdk::NaviConfigRequest request;
    EXPECT_TRUE(request.ParseFromString(bytes));
    sdk::NaviConfigReply reply;
    reply.set_task_id(request.task_id());
    return reply.SerializeAsString();
  }

  // A list of one box looks like the request that adds it.
  static std::string boxes(const std::string&) {
    size_t size = 4;
    sdk::FusionBoxInfo box;
    sdk::convert_box_info_to_fusion_box({{1, 2, 3}, {}, 5, "base_link"}, box, size);
    return sdk::make_add_box_request(box, size);
  }

  void report() {
    PNSStatus status;
    status.set_service_status(PNSStatus::SERVICE_WORKING);
    spatial_proto::PoseMsg pose;
    pose.mutable_pose()->mutable_position()->set_x(4.0);
    while (!over_) {
      statuses_->Publish(status);
      poses_->Publish(pose);
      const auto now = std::chrono::system_clock::now().time_since_epoch();
      const auto time = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
      scores_->Publish("{\"score\":0.9,\"timestamp\":" + std::to_string(time) + "}");
      std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
  }

  const int32_t status_;
  std::atomic<bool> over_{false};
  std::atomic<bool> has_initial_pose_{false};
  const std::unique_ptr<ovimux::Node> node_ = ovimux::CreateNode("wire_navigation", "");
  const Writer<PNSStatus> statuses_ = writer<PNSStatus>("/norvik/pns/status");
  const Writer<NavigationResult> results_ = writer<NavigationResult>("/norvik/pns/navigation_status");
  const Writer<Evaluation> evaluations_ = writer<Evaluation>("/norvik/pns/evaluate_goal_availability");
  const Writer<spatial_proto::PoseMsg> poses_ = writer<spatial_proto::PoseMsg>("/norvik/mes/global_pose");
  const std::shared_ptr<ovimux::RawWriter> scores_ =
      node_->CreateWriter("/norvik/mes/localization_score", ovimux::Qos{}, true);
  const std::shared_ptr<ovimux::ReaderBase> initial_poses_ = node_->CreateReader<spatial_proto::PoseMsg>(
      "/norvik/mes/initial_pose", [this](const auto&, const void*) { has_initial_pose_ = true; }, ovimux::Qos{});
  const WireService plan_{"/norvik/pns/navigation_plan", [this](const auto& b) { return accept<sdk::NaviRequest>(b); }};
  const WireService plan_v2_{"/norvik/pns/navigation_plan_v2",
                             [this](const auto& bytes) { return accept<sdk::NaviPlanRequest>(bytes); }};
  const WireService config_{"/norvik/pns/get_set_config", configure};
  const WireService add_{"norvik_fusion_add_box", [](const auto&) { return std::string(1, '\0'); }};
  const WireService remove_{"norvik_fusion_remove_box", [](const auto&) { return std::string(1, '\x01'); }};
  const WireService get_{"norvik_fusion_get_box", boxes};
  std::thread reporter_;
};

}  // namespace norvik::test
