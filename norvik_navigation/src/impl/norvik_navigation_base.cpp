// The session with the navigation service: start, what its topics bring, localisation, end of the process.

#include "impl/norvik_navigation_base.hpp"

#include <algorithm>
#include <exception>
#include <string_view>
#include <utility>

#include "common_provider.hpp"
#include "impl/replies/localization_score.hpp"
#include "impl/requests/navigation_checks.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using kelvorn_proto::EvaluateGoalAvailabilityResponse;
using kelvorn_proto::NavigationResult;
using kelvorn_proto::PNSStatus;
using spatial_proto::PoseMsg;

namespace {

constexpr char kInitialPoseTopic[] = "/norvik/mes/initial_pose";
constexpr char kScoreTopic[] = "/norvik/mes/localization_score";
constexpr char kPoseTopic[] = "/norvik/mes/global_pose";
constexpr char kResultTopic[] = "/norvik/pns/navigation_status";
constexpr char kStatusTopic[] = "/norvik/pns/status";
constexpr char kEvaluateTopic[] = "/norvik/pns/evaluate_goal_availability";
constexpr char kPlanService[] = "/norvik/pns/navigation_plan";
constexpr char kPlanV2Service[] = "/norvik/pns/navigation_plan_v2";
constexpr char kConfigService[] = "/norvik/pns/get_set_config";

constexpr std::chrono::seconds kServerTimeout{5};
// Blocking requests notice a shutdown within 50 ms.
constexpr std::chrono::milliseconds kLongestSending{150};
constexpr int kStopAttempts = 5;
constexpr float kLocalizedAbove = 0.75F;
constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

// The object that filled the slot last and has to empty it when it goes.
std::atomic<const NorvikNavigationBase*> g_slot_owner{nullptr};

// Logs when there is nothing.
template <typename Pointer>
bool is_made(const Pointer& pointer, const char* failure) {
  if (!pointer) {
    SDK_LOG(error) << failure;
  }
  return pointer != nullptr;
}

template <typename Client>
void wait_for_server(const std::shared_ptr<Client>& client) {
  if (client) {
    client->WaitForServerConnected(kServerTimeout);
  }
}

}  // namespace

NorvikNavigationBase::NorvikNavigationBase() : evaluation_(tasks_.task_prefix()) {}

// Readers wait for their callbacks, the watch ends.
NorvikNavigationBase::~NorvikNavigationBase() {
  clear_provider_slot();
  shutdown_task_.reset();
  readers_.clear();
  watcher_.reset_navi_control_thread();
}

bool NorvikNavigationBase::base_init() {
  ovimux::OvimuxInit();
  SDK_LOG(debug) << "debug log enable";
  std::call_once(init_once_, [this] { init_success_ = open_channels(); });
  wait_for_servers();
  if (!init_success_.load()) {
    return false;
  }
  wait_for_server(config_client_);
  fill_provider_slot();
  return init_success_.load();
}

void NorvikNavigationBase::wait_for_servers() {
  wait_for_server(fusion_add_client_);
  wait_for_server(fusion_remove_client_);
  wait_for_server(fusion_get_client_);
  wait_for_server(plan_client_);
  wait_for_server(plan_v2_client_);
}

bool NorvikNavigationBase::open_channels() {
  navi_node_ = ovimux::CreateNode("navigation_sdk_node", "");
  if (!is_made(navi_node_, "navi node create fail")) {
    return false;
  }
  SDK_LOG(info) << "navi node create success";
  init_pose_writer_ = navi_node_->CreateWriter<PoseMsg>(kInitialPoseTopic, ovimux::Qos{});
  open_fusion_clients();
  register_shutdown_task();
  return open_clients() && open_readers();
}

void NorvikNavigationBase::register_shutdown_task() {
  shutdown_task_ =
      std::make_unique<ovimux::ShutdownTask>([this](NaviTime deadline) { stop_goals_under_way(deadline); });
}

// A robot without the box service navigates all the same.
void NorvikNavigationBase::open_fusion_clients() {
  const auto open = [this](const std::string& service) {
    auto client = navi_node_->CreateClient(service, ovimux::RpcQos{}, false);
    if (!client) {
      SDK_LOG(error) << "fusion client " << service << " create fail";
    }
    return client;
  };
  fusion_add_client_ = open("norvik_fusion_add_box");
  fusion_remove_client_ = open("norvik_fusion_remove_box");
  fusion_get_client_ = open("norvik_fusion_get_box");
}

bool NorvikNavigationBase::open_clients() {
  const ovimux::RpcQos qos;
  plan_client_ = navi_node_->CreateClient<NaviRequest, Response>(kPlanService, qos);
  if (!is_made(plan_client_, "pns client /norvik/pns/navigation_plan create fail")) {
    return false;
  }
  plan_v2_client_ = navi_node_->CreateClient<NaviPlanRequest, Response>(kPlanV2Service, qos);
  if (!is_made(plan_v2_client_, "pns plan client /norvik/pns/navigation_plan_v2 create fail")) {
    return false;
  }
  config_client_ = navi_node_->CreateClient<NaviConfigRequest, NaviConfigReply>(kConfigService, qos);
  return is_made(config_client_, "config client /norvik/pns/get_set_config create fail");
}

bool NorvikNavigationBase::open_readers() {
  const auto keep = [this](std::shared_ptr<ovimux::ReaderBase> reader, const char* failure) {
    const bool made = is_made(reader, failure);
    readers_.push_back(std::move(reader));
    return made;
  };
  const auto open = [&](auto callback, const char* topic, const char* failure) {
    return keep(navi_node_->CreateReader(topic, std::move(callback), ovimux::Qos{}), failure);
  };
  return keep(navi_node_->CreateReader(
                  kScoreTopic,
                  [this](const void* data, int size, const void*) { localization_score_callback(data, size); },
                  ovimux::Qos{}, nullptr, true),
              "create localization_score reader /norvik/mes/localization_score fail") &&
         open(ovimux::Node::ReaderCallback<PoseMsg>(
                  [this](const auto& message, const void*) { robot_pose_msg_callback(message); }),
              kPoseTopic, "create robot_pose reader /norvik/mes/global_pose fail") &&
         open(ovimux::Node::ReaderCallback<NavigationResult>(
                  [this](const auto& message, const void*) { navigation_status_msg_callback(message); }),
              kResultTopic, "create navi_result reader /norvik/pns/navigation_status fail") &&
         open(ovimux::Node::ReaderCallback<PNSStatus>(
                  [this](const auto& message, const void*) { pns_status_callback(message); }),
              kStatusTopic, "create pns status reader /norvik/pns/status fail") &&
         open(ovimux::Node::ReaderCallback<EvaluateGoalAvailabilityResponse>(
                  [this](const auto& message, const void*) { evaluate_msg_callback(message); }),
              kEvaluateTopic, "create evaluate_result reader /norvik/pns/evaluate_goal_availability failed");
}

void NorvikNavigationBase::fill_provider_slot() {
  if (g_slot_owner.load() == this) {
    return;  // As it is: another thread may be calling it.
  }
  BaseStateProvider::get_base_state_func_ = [this] {
    const Pose pose = get_current_pose();
    return std::vector<double>{pose.x, pose.y, pose.z, pose.qx, pose.qy, pose.qz, pose.qw};
  };
  g_slot_owner = this;
}

void NorvikNavigationBase::clear_provider_slot() {
  const NorvikNavigationBase* expected = this;
  if (g_slot_owner.compare_exchange_strong(expected, nullptr)) {
    BaseStateProvider::get_base_state_func_ = nullptr;
  }
}

bool NorvikNavigationBase::is_ready() const {
  return pns_status_.load() == PNSStatus::SERVICE_WORKING && is_localized();
}

bool NorvikNavigationBase::is_service_working() const {
  const int32_t status = pns_status_.load();
  if (status == PNSStatus::SERVICE_WORKING) {
    return true;
  }
  SDK_LOG(error) << "pns service is not initialed! status: " << status;
  return false;
}

// What the topics bring.

void NorvikNavigationBase::navigation_status_msg_callback(const std::shared_ptr<NavigationResult>& result) {
  if (result) {
    tasks_.update(*result);
  }
}

void NorvikNavigationBase::pns_status_callback(const std::shared_ptr<PNSStatus>& status) {
  if (status) {
    pns_status_ = status->service_status();
  }
}

void NorvikNavigationBase::robot_pose_msg_callback(const std::shared_ptr<PoseMsg>& message) {
  if (!message) {
    return;
  }
  const auto& time = message->header().timestamp();
  const auto& position = message->pose().position();
  const auto& orientation = message->pose().orientation();
  robot_pose_.set(
      {position.x(), position.y(), position.z(), orientation.x(), orientation.y(), orientation.z(), orientation.w()},
      static_cast<double>(time.sec()) + static_cast<double>(time.nanosec()) / kNanosecondsPerSecond);
}

void NorvikNavigationBase::evaluate_msg_callback(const std::shared_ptr<EvaluateGoalAvailabilityResponse>& response) {
  if (response) {
    evaluation_.update(*response);
  }
}

void NorvikNavigationBase::localization_score_callback(const void* data, int size) {
  const std::string_view text(static_cast<const char*>(data), data == nullptr || size < 0 ? 0 : size);
  try {
    localization_score_ = score_at(parse_localization_score(text), clock_.now().seconds());
  } catch (const std::exception& error) {
    SDK_LOG(error) << "localization_score_callback: json parse error: " << error.what();
  }
}

// Localisation.

bool NorvikNavigationBase::is_localized() const { return localization_score_.load() > kLocalizedAbove; }

NaviStatus NorvikNavigationBase::relocalize(const Pose& pose) {
  if (!init_pose_writer_) {
    SDK_LOG(error) << "create init pose pub failed";
    return NaviStatus::REQUEST_FAILED;
  }
  if (!is_service_working()) {
    return NaviStatus::SERVICE_NOT_READY;
  }
  if (!check_pose("relocalize", pose)) {
    return NaviStatus::INVALID_INPUT;
  }
  PoseMsg message;
  const auto now = clock_.now();
  message.mutable_header()->set_frame_id("map");
  message.mutable_header()->mutable_timestamp()->set_sec(static_cast<int64_t>(now.seconds()));
  message.mutable_header()->mutable_timestamp()->set_nanosec(
      static_cast<uint32_t>(now.nanoseconds() % kNanosecondsPerSecond));
  fill_pose(pose, *message.mutable_pose());
  init_pose_writer_->Publish(message);
  return NaviStatus::SUCCESS;
}

// The end of the process.

// Runs with the right to send although the middleware closes.
void NorvikNavigationBase::stop_goals_under_way(NaviTime deadline) {
  if (!goals_under_way_.take(std::min(deadline, navigation_now() + kLongestSending)) || !plan_client_) {
    return;
  }
  const std::shared_ptr<const NaviRequest> request = generate_stop_request(tasks_.present_goal_id());
  for (int i = 0; i < kStopAttempts; ++i) {
    const auto answer = plan_client_->AsyncSendRequest(request);
    if (!answer.valid() || answer.wait_until(deadline) != std::future_status::ready) {
      break;
    }
    if (answer.get() && answer.get()->status() == Response::SUCCESS) {
      SDK_LOG(info) << "stop navigation action success.";
      return;
    }
  }
  SDK_LOG(error) << "stop navigation action timeout.";
}

}  // namespace norvik::sdk
