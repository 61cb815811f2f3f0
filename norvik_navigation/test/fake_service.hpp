#pragma once

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "impl/norvik_navigation_k2.hpp"
#include "impl/norvik_navigation_r5.hpp"
#include "ovimux/ovimux.hpp"
#include "support/fake_endpoints.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {

using kelvorn_proto::NavigationResponse;
using kelvorn_proto::NavigationResult;
using kelvorn_proto::PNSStatus;
using sdk::NaviStatus;
using sdk::NaviTaskStatus;

inline std::shared_ptr<NavigationResponse> make_reply(NavigationResponse::Status status, const std::string& text = "") {
  auto reply = std::make_shared<NavigationResponse>();
  reply->set_status(status);
  reply->set_msg(text);
  return reply;
}

inline std::shared_ptr<NavigationResult> make_result(const std::string& task_id, int status,
                                                     const std::string& text = "") {
  auto result = std::make_shared<NavigationResult>();
  result->set_task_id(task_id);
  result->set_status(static_cast<NavigationResult::TaskStatus>(status));
  result->set_msg(text);
  return result;
}

// The text with the prefix of this object's ids replaced by "PREFIX".
inline std::string without_prefix(std::string text, const std::string& prefix) {
  if (const auto at = text.find(prefix); at != std::string::npos) {
    text.replace(at, prefix.size(), "PREFIX");
  }
  return text;
}

// The last request of a client.
template <typename Client>
std::string last_request(const Client& client, const std::string& prefix) {
  const auto calls = client.calls();
  return calls.empty() ? "nothing was sent" : without_prefix(calls.back().request.ShortDebugString(), prefix);
}

// The same of a message told as text.
template <typename Message>
std::string normal_form(const std::string& text) {
  Message message;
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, &message)) << text;
  return message.ShortDebugString();
}

// A navigation object of a model whose endpoints are fakes. As made it is ready: the service works, accepts everything
// and reports each goal, target and box as `status`, at once, unless that is negative.
template <typename Model>
class FakeNavigationOf : public Model {
 public:
  using PlanClient = FakeClient<sdk::NaviRequest, NavigationResponse>;
  using PlanV2Client = FakeClient<sdk::NaviPlanRequest, NavigationResponse>;
  using ConfigClient = FakeClient<sdk::NaviConfigRequest, sdk::NaviConfigReply>;
  using RawClient = FakeClient<std::string, std::string>;

  FakeNavigationOf() {
    ovimux::OvimuxInitInternal();  // Waits end at once while the middleware is not running.
    this->register_shutdown_task();
    this->init_pose_writer_ = pose_writer;
    this->plan_client_ = plan_client;
    this->plan_v2_client_ = plan_v2_client;
    this->config_client_ = config_client;
    this->fusion_add_client_ = this->fusion_remove_client_ = this->fusion_get_client_ = box_client;
    plan_client->reply = [this](const sdk::NaviRequest& request) {
      if (request.has_stop_navigation_req()) {
        return make_reply(stop_answer);
      }
      if (request.has_evaluate_goal_availability_req() && evaluates) {
        evaluate(request.task_id(), true);
      }
      return answer(request.task_id());
    };
    plan_v2_client->reply = [this](const sdk::NaviPlanRequest& request) { return answer(request.task_id()); };
    config_client->reply = [](const sdk::NaviConfigRequest& request) {
      auto reply = std::make_shared<sdk::NaviConfigReply>();
      reply->set_task_id(request.task_id());
      reply->mutable_configs()->set_config_msg("{\"a\":1}");
      return reply;
    };
    box_client->reply = [this](const std::string&) { return std::make_shared<std::string>(box_reply); };
    set_service(PNSStatus::SERVICE_WORKING);
  }

  // As an application sees it, with the default arguments.
  sdk::NorvikNavigation& api() { return *this; }
  std::string prefix() const { return this->tasks_.task_prefix(); }

  void set_service(PNSStatus::ServiceStatus value) {
    auto message = std::make_shared<PNSStatus>();
    message->set_service_status(value);
    this->pns_status_callback(message);
  }
  void report(const std::string& task_id, int32_t value, const std::string& text = "") {
    this->navigation_status_msg_callback(make_result(task_id, value, text));
  }
  void evaluate(const std::string& task_id, bool available) {
    auto response = std::make_shared<kelvorn_proto::EvaluateGoalAvailabilityResponse>();
    response->set_task_id(task_id);
    response->set_available(available);
    this->evaluate_msg_callback(response);
  }
  void drop_clients() {
    this->init_pose_writer_ = nullptr;
    this->plan_client_ = nullptr;
    this->plan_v2_client_ = nullptr;
    this->config_client_ = nullptr;
    this->fusion_add_client_ = this->fusion_remove_client_ = this->fusion_get_client_ = nullptr;
  }
  int stops() const {
    int count = 0;
    for (const auto& call : plan_client->calls()) {
      count += call.request.has_stop_navigation_req() ? 1 : 0;
    }
    return count;
  }
  // Requests of all kinds, stops included.
  size_t requests() const {
    return plan_client->calls().size() + plan_v2_client->calls().size() + config_client->calls().size() +
           box_client->calls().size() + pose_writer->sent().size();
  }

  std::atomic<int32_t> status{NaviTaskStatus::SUCCESS};
  int refusals = 0;     // Of the next goals, targets and boxes; -1: all.
  bool answers = true;  // To these.
  bool evaluates = true;
  NavigationResponse::Status stop_answer = NavigationResponse::SUCCESS;
  std::string box_reply = std::string(1, '\0');
  const std::shared_ptr<FakeWriter<spatial_proto::PoseMsg>> pose_writer =
      std::make_shared<FakeWriter<spatial_proto::PoseMsg>>();
  const std::shared_ptr<PlanClient> plan_client = std::make_shared<PlanClient>();
  const std::shared_ptr<PlanV2Client> plan_v2_client = std::make_shared<PlanV2Client>();
  const std::shared_ptr<ConfigClient> config_client = std::make_shared<ConfigClient>();
  const std::shared_ptr<RawClient> box_client = std::make_shared<RawClient>();

 private:
  std::shared_ptr<NavigationResponse> answer(const std::string& task_id) {
    if (!answers) {
      return nullptr;
    }
    if (refusals != 0) {
      refusals -= refusals > 0 ? 1 : 0;
      return make_reply(NavigationResponse::FAILED, "busy");
    }
    if (status >= 0) {
      report(task_id, status);
    }
    return make_reply(NavigationResponse::SUCCESS, "fine");
  }
};

using FakeNavigation = FakeNavigationOf<sdk::k2::NorvikNavigationK2>;
using FakeNavigationR5 = FakeNavigationOf<sdk::r5::NorvikNavigationR5>;

inline constexpr sdk::Pose kGoal{1.0, 2.0, 0.0, 0.0, 0.0, 0.6, 0.8};

}  // namespace norvik::test
