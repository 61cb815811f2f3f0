// The session with the planning service: start, requests under one time budget, what its status messages bring.

#include "impl/norvik_motion_base.hpp"

#include <algorithm>
#include <chrono>
#include <limits>

#include "common_provider.hpp"
#include "impl/replies/task_results.hpp"
#include "ovimux/basic_interface/clock.hpp"
#include "ovimux/basic_interface/duration.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"
#include "ovimux/tf2_ovimux/transform_listener.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

using std::chrono::steady_clock;

namespace {

constexpr const char* kPlanService = "motion_planning_service";
constexpr const char* kDataService = "motion_planning_service/get_data";
constexpr const char* kKinematicService = "motion_planning_service/kinematic";
constexpr const char* kStatusTopic = "motion_planning_service/status";

constexpr std::chrono::seconds kServerTimeout{20};
constexpr std::chrono::seconds kReplyTimeout{5};
constexpr std::chrono::seconds kLongestStart{10};
constexpr std::chrono::milliseconds kStartLogPeriod{100};
constexpr double kShortestReadyWaitS = 0.001;
constexpr int64_t kTransformCacheNs = 10'000'000'000;

// The object that filled the slot last and has to empty it when it goes.
std::atomic<const NorvikMotionBase*> g_slot_owner{nullptr};

int64_t milliseconds_left(PlannerTime deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
  return std::clamp<int64_t>(left, 0, std::numeric_limits<int32_t>::max());
}

}  // namespace

NorvikMotionBase::NorvikMotionBase()
    : chain_tables_(std::make_shared<const ChainTables>()), data_checker_(std::make_shared<const DataChecker>()) {
  support_names_.support_chains_ = {"head", "left_arm", "right_arm", "leg", "torso"};
  support_names_.support_frames_ = {"world", "map", "base_link"};
  support_names_.support_tool_list_ = {"None",           "gripper_hitbot", "suction_cup", "robotiq_gripper",
                                       "norvik_gripper", "HX407",          "HX407v1"};
}

// The reader waits for its callback, the background task's waits end.
NorvikMotionBase::~NorvikMotionBase() {
  clear_provider_slot();
  mps_status_reader_.reset();
  mps_status_.stop();
  plan_tasks_.stop();
  end_async_task();
}

bool NorvikMotionBase::base_init() {
  ovimux::OvimuxInit();
  SDK_LOG(debug) << "debug log enable";
  std::call_once(init_once_, [this] { is_init_ = open_channels(); });
  const bool started = wait_mps_init();
  if (!is_init_.load() || !started) {
    SDK_LOG(info) << "mps init failed";
    is_init_ = false;
    close_channels();
    return false;
  }
  mps_client_.get_data()->WaitForServerConnected(kServerTimeout);
  update_robot_info();
  open_transforms();
  fill_provider_slot();
  return is_init_.load();
}

bool NorvikMotionBase::open_channels() {
  planner_node_ = ovimux::CreateNode("planner_sdk_node", "");
  if (!planner_node_) {
    SDK_LOG(error) << "planner_sdk_node create fail";
    return false;
  }
  if (!open_clients()) {
    return false;
  }
  mps_kinematic_client_.get_data()->WaitForServerConnected(kServerTimeout);
  mps_status_reader_ = planner_node_->CreateReader<PlannerStatus>(
      kStatusTopic,
      [this](const std::shared_ptr<PlannerStatus>& message, const void*) { mps_status_callback(message); },
      ovimux::Qos{});
  if (!mps_status_reader_) {
    SDK_LOG(error) << "Create mps_status_reader_ fail";
    return false;
  }
  SDK_LOG(info) << "planner interface init success";
  return true;
}

bool NorvikMotionBase::open_clients() {
  const ovimux::RpcQos qos;
  mps_client_.set_data(planner_node_->CreateClient<PlanRequest, kelvorn_proto::MotionPlannerOutput>(kPlanService, qos));
  if (!mps_client_.get_data()) {
    SDK_LOG(error) << "Failed to create motion plan service client";
    return false;
  }
  mps_data_client_.set_data(
      planner_node_->CreateClient<kelvorn_proto::GetDataRequest, kelvorn_proto::DataResponse>(kDataService, qos));
  if (!mps_data_client_.get_data()) {
    SDK_LOG(error) << "Failed to create data service client";
    return false;
  }
  mps_kinematic_client_.set_data(
      planner_node_->CreateClient<kelvorn_proto::KinematicRequest, kelvorn_proto::KinematicResponse>(kKinematicService,
                                                                                                     qos));
  if (!mps_kinematic_client_.get_data()) {
    SDK_LOG(error) << "Failed to create kinematic service client";
    return false;
  }
  return true;
}

void NorvikMotionBase::close_channels() {
  mps_data_client_.set_data(nullptr);
  mps_client_.set_data(nullptr);
  mps_kinematic_client_.set_data(nullptr);
  mps_status_reader_.reset();
  planner_node_.reset();
}

bool NorvikMotionBase::wait_mps_init() {
  const auto start = steady_clock::now();
  while (config_cache_.is_initing()) {
    SDK_LOG(info) << "waiting for mps init...";
    mps_status_.wait_until(steady_clock::now() + kStartLogPeriod, [this] { return !config_cache_.is_initing(); });
    if (config_cache_.is_init_ok()) {
      break;
    }
    if (steady_clock::now() - start > kLongestStart || !ovimux::may_send()) {
      SDK_LOG(info) << "mps init timeout";
      break;
    }
  }
  return config_cache_.is_init_ok();
}

void NorvikMotionBase::open_transforms() {
  using ovimux::basic_interface::Clock;
  using ovimux::basic_interface::Duration;
  tf_listener_.reset();  // Of an earlier init(): it feeds that one's buffer through that one's node.
  tf_node_ = ovimux::CreateNode("tf_node", "");
  const auto buffer = std::make_shared<ovimux::tf2_ovimux::Buffer>(
      std::make_shared<Clock>(ovimux::basic_interface::RCL_SYSTEM_TIME), Duration(kTransformCacheNs));
  tf_listener_ = std::make_shared<ovimux::tf2_ovimux::TransformListener>(buffer, tf_node_.get());
  buffer->setUsingDedicatedThread(true);
  tf_buffer_.set_data(buffer);
}

// The slot's time-out comes before its speed, the operation's after it.
void NorvikMotionBase::fill_provider_slot() {
  if (g_slot_owner.load() == this) {
    return;  // As it is: another thread may be calling it.
  }
  WholeBodyJointProvider::move_whole_body_joint_zero_func_ = [this](bool blocking, double timeout, double speed,
                                                                    const std::shared_ptr<void>& parameter) {
    return move_whole_body_joint_zero(blocking, speed, timeout,
                                      parameter ? std::static_pointer_cast<Parameter>(parameter) : default_param);
  };
  g_slot_owner = this;
}

void NorvikMotionBase::clear_provider_slot() {
  const NorvikMotionBase* expected = this;
  if (g_slot_owner.compare_exchange_strong(expected, nullptr)) {
    WholeBodyJointProvider::move_whole_body_joint_zero_func_ = nullptr;
  }
}

bool NorvikMotionBase::is_valid_or_log() const {
  if (is_valid()) {
    return true;
  }
  SDK_LOG(error) << "Norvik Motion is not initialized.";
  return false;
}

void NorvikMotionBase::mps_status_callback(const std::shared_ptr<PlannerStatus>& message) {
  if (!message) {
    SDK_LOG(error) << "mps status callback message is nullptr";
    return;
  }
  config_cache_.update_motion_config(*message, support_names().support_chains_);
  mps_status_.set(message->status());
  plan_tasks_.update(*message);
}

NorvikMotionBase::PlanRequest NorvikMotionBase::make_request(const std::string& task_prefix) {
  PlanRequest request;
  request.set_task_id(generate_task_id(task_prefix, task_counter_));
  return request;
}

bool NorvikMotionBase::send_plan_request(const PlanRequest& request) {
  SDK_LOG(info) << "send_plan_request: " << request.DebugString();
  const auto client = mps_client_.get_data();
  const auto reply = client ? client->SendRequest(request, kReplyTimeout) : nullptr;
  if (!reply) {
    SDK_LOG(error) << "request fail, task ID: " << request.task_id();
    return false;
  }
  SDK_LOG(info) << request.task_id() << " server response "
                << "Result: " << reply->res() << ", Description: " << reply->desp();
  return true;
}

std::pair<MotionStatus, NorvikMotionBase::PlannerStatus> NorvikMotionBase::execute_plan_request(
    const PlanRequest& request, double timeout_s) {
  if (!(timeout_s > 0.0)) {
    return {mps_status_.wait_mps_ready(timeout_s), {}};
  }
  const auto deadline = planner_deadline(steady_clock::now(), timeout_s);
  const std::chrono::duration<double> left = deadline - steady_clock::now();
  if (left.count() <= 0.0) {
    SDK_LOG(error) << "execute_plan_request: timeout budget exhausted before wait_mps_ready";
    return {MotionStatus::TIMEOUT, {}};
  }
  const MotionStatus ready = mps_status_.wait_mps_ready(std::max(left.count(), kShortestReadyWaitS));
  if (ready != MotionStatus::SUCCESS) {
    return {ready, {}};
  }
  plan_tasks_.add_plan_task_handle(request.task_id());
  if (!send_plan_request(request)) {
    return {MotionStatus::PUBLISH_FAIL, {}};
  }
  const MotionStatus finished = plan_tasks_.wait_plan_task_finish(request.task_id(), milliseconds_left(deadline));
  PlannerStatus last;
  if (!plan_tasks_.get_plan_task_handle(request.task_id(), last)) {
    return {MotionStatus::FAULT, {}};
  }
  return {finished, std::move(last)};
}

MotionStatus NorvikMotionBase::run_task(const PlanRequest& request, double timeout_s) {
  const auto [status, last] = execute_plan_request(request, timeout_s);
  return status == MotionStatus::SUCCESS ? finish_status(last) : status;
}

NorvikMotionBase::DataResponse NorvikMotionBase::send_mps_data_request_with_ready(DataType type, double timeout_s) {
  if (!mps_data_client_.get_data()) {
    return nullptr;
  }
  const MotionStatus ready = mps_status_.wait_mps_ready(timeout_s);
  if (ready != MotionStatus::SUCCESS) {
    SDK_LOG(error) << "send_mps_data_request_with_ready: mps not ready, " << status_to_string(ready);
    return nullptr;
  }
  return request_data(type);
}

NorvikMotionBase::DataResponse NorvikMotionBase::request_data(DataType type) {
  kelvorn_proto::GetDataRequest request;
  request.set_data_type(type);
  const auto client = mps_data_client_.get_data();
  return client ? client->SendRequest(request, kReplyTimeout) : nullptr;
}

}  // namespace norvik::sdk
