// Set-up of the whole-body part, and what its readers do with the controller's messages.

#include <atomic>
#include <utility>

#include "common_provider.hpp"
#include "impl/common/log_created.hpp"
#include "impl/sensor_base.hpp"
#include "impl/wbc_base.hpp"
#include "ovimux/node.hpp"
#include "ovimux/ovimux.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kServerTimeout{20};

constexpr const char* kTargetTopic = "tavrinox/wbcs/target";
constexpr const char* kTargetServer = "tavrinox/wbcs/target_server";
constexpr const char* kControllerServer = "tavrinox/wbcs/controller_server";
constexpr const char* kErrorTopic = "tavrinox/wbcs/error";
constexpr const char* kInfoTopic = "tavrinox/wbcs/wbc_info";
constexpr const char* kSensorTopic = "tavrinox/wbcs/sensor";
constexpr const char* kOdomTopic = "/odom/base_link";

// The object that filled the slots last and has to empty them when it goes.
std::atomic<const WbcBase*> g_slot_owner{nullptr};

// Whole trajectories travel as requests.
ovimux::RpcQos large_rpc_qos() {
  ovimux::RpcQos qos;
  qos.payload_kind = ovimux::kLargePayloadKind;
  return qos;
}

// A reader whose messages go to a member of `robot`, which closes it before it goes.
template <typename Message>
std::shared_ptr<ovimux::ReaderBase> open_reader(ovimux::Node& node, const char* topic, WbcBase& robot,
                                                void (WbcBase::*callback)(const std::shared_ptr<Message>&)) {
  return node.CreateReader<Message>(
      topic, [&robot, callback](const std::shared_ptr<Message>& message, const void*) { (robot.*callback)(message); },
      ovimux::Qos{});
}

}  // namespace

WbcBase::WbcBase()
    : joint_control_(modules_),
      trajectory_control_(modules_),
      target_control_(modules_),
      cartesian_control_(modules_),
      dexhand_control_(modules_,
                       [this](const std::vector<JointCommand>& joint_commands, const std::string& group) {
                         return set_joint_commands(joint_commands, {group}, {}, 0.0);
                       }),
      zero_control_(modules_, [this](const ZeroControl::Command& command, double time_from_start_s) {
        const auto& [x, y, yaw] = command.base_target;
        return set_base_pose(x, y, yaw, command.frame_id, command.reference_frame_id, time_from_start_s, false,
                             command.timeout_s);
      }) {}

// Stopping motions takes everything; the readers wait for their callbacks, which use the modules.
WbcBase::~WbcBase() {
  motion_stopper_.reset();
  readers_.clear();
  clear_provider_slots();
}

bool WbcBase::wbc_base_init() {
  ovimux::OvimuxInit();
  bool is_new = false;
  std::call_once(init_once_, [&] {
    initialized_ = open_channels();
    is_new = true;
  });
  if (wbcs_target_client_) {
    wbcs_target_client_->WaitForServerConnected(kServerTimeout);
  }
  if (wbcs_controller_client_) {
    wbcs_controller_client_->WaitForServerConnected(kServerTimeout);
  }
  if (is_new) {  // Later, a server that was killed may still count.
    for (const auto& watch : service_watches_) {
      watch->look_first();
    }
  }
  publish_provider_slots();
  return initialized_;
}

bool WbcBase::open_channels() {
  node_ = ovimux::CreateNode("wbc_sdk_node", "");
  if (!node_) {
    SDK_LOG(error) << "wbc_node create fail";
    return false;
  }
  if (!open_endpoints()) {
    return false;
  }
  create_modules();
  watch_services();
  if (!open_readers()) {
    return false;
  }
  SDK_LOG(info) << "wbc interface init success";
  return true;
}

bool WbcBase::open_endpoints() {
  wbcs_target_writer_ = node_->CreateWriter<tavrinox_proto::TavrinoXTarget>(kTargetTopic, ovimux::Qos{});
  if (!SDK_LOG_CREATED(wbcs_target_writer_, "create wbcs_target_writer tavrinox/wbcs/target success.",
                       "wbcs_target_writer tavrinox/wbcs/target create fail")) {
    return false;
  }
  wbcs_target_client_ = node_->CreateClient<tavrinox_proto::TavrinoXTarget, tavrinox_proto::TavrinoXError>(
      kTargetServer, large_rpc_qos());
  if (!SDK_LOG_CREATED(wbcs_target_client_, "create wbcs_target_client tavrinox/wbcs/target_server success.",
                       "wbcs_target_client tavrinox/wbcs/target_server create fail")) {
    return false;
  }
  wbcs_controller_client_ = node_->CreateClient<tavrinox_proto::TavrinoXController, tavrinox_proto::TavrinoXError>(
      kControllerServer, large_rpc_qos());
  return SDK_LOG_CREATED(wbcs_controller_client_,
                         "create wbcs_controller_client tavrinox/wbcs/controller_server success.",
                         "create wbcs_controller_client tavrinox/wbcs/controller_server fail.");
}

void WbcBase::create_modules() {
  WbcModules made;
  made.common_utils = std::make_shared<CommonUtils>(wbcs_target_writer_, wbcs_target_client_, wbcs_controller_client_);
  made.joint_manager = create_joint_manager();
  made.target_dispatcher = std::make_shared<TargetDispatcher>(made.common_utils);
  made.controller_manager = create_controller_manager(made.common_utils);
  made.target_proto_builder = create_target_proto_builder(made.joint_manager);
  made.sensor_module = std::make_shared<SensorModule>(made.common_utils, made.joint_manager);
  made.joint_metadata = std::make_shared<JointMetadata>(made.common_utils, made.joint_manager, made.sensor_module);
  made.joint_state_module =
      std::make_shared<JointStateModule>(made.common_utils, made.joint_manager, made.sensor_module);
  made.end_effector_control = std::make_shared<EndEffectorControl>(
      made.common_utils, made.joint_manager, made.target_proto_builder, made.sensor_module, made.joint_state_module);
  made.base_control = std::make_unique<BaseControl>(made.common_utils, made.target_proto_builder,
                                                    made.target_dispatcher, made.controller_manager);
  motion_stopper_ = std::make_unique<MotionStopper>(made.common_utils, made.target_proto_builder);
  sensor_base_ = dynamic_cast<SensorBase*>(this);
  modules_.fill(std::move(made));
}

void WbcBase::watch_services() {
  service_watches_.push_back(std::make_unique<ServiceWatch>(
      kTargetServer, [client = wbcs_target_client_] { return client->GetMatchedServerCount(); }));
  service_watches_.push_back(std::make_unique<ServiceWatch>(
      kControllerServer, [client = wbcs_controller_client_] { return client->GetMatchedServerCount(); }));
}

bool WbcBase::open_readers() {
  const auto keep = [this](std::shared_ptr<ovimux::ReaderBase> reader, const char* success, const char* failure) {
    readers_.push_back(std::move(reader));
    return SDK_LOG_CREATED(readers_.back(), success, failure);
  };
  return keep(open_reader(*node_, kErrorTopic, *this, &WbcBase::error_info_callback),
              "create robot_error_reader tavrinox/wbcs/error success.",
              "create robot_error_reader tavrinox/wbcs/error fail.") &&
         keep(open_reader(*node_, kInfoTopic, *this, &WbcBase::wbc_info_callback),
              "create wbc_info_reader tavrinox/wbcs/wbc_info success.",
              "create wbc_info_reader tavrinox/wbcs/wbc_info fail.") &&
         keep(open_reader(*node_, kSensorTopic, *this, &WbcBase::sensor_callback),
              "create robot_sensor_reader tavrinox/wbcs/sensor success.", "create robot_sensor_reader fail.") &&
         keep(open_reader(*node_, kOdomTopic, *this, &WbcBase::odom_callback),
              "create odom_reader /odom/base_link success.", "create odom_reader_ fail.");
}

// At every initialisation: with several robots in the process the planner works with the one that was started last.
void WbcBase::publish_provider_slots() {
  if (g_slot_owner.exchange(this) == this) {
    return;  // As they are; other threads may be calling them.
  }
  JointStateProvider::get_whole_body_joint_state_func_ =
      [this](std::unordered_map<std::string, JointStateMessage>& out) { return get_whole_body_joint_state(out); };
  JointStateProvider::get_joint_positions_func_ = [this](const std::vector<std::string>& joint_groups,
                                                         const std::vector<std::string>& joint_names) {
    return get_joint_positions(joint_groups, joint_names);
  };
  JointPositionControlProvider::set_joint_positions_func_ =
      [this](const std::vector<double>& positions, const std::vector<std::string>& joint_groups,
             const std::vector<std::string>& joint_names, bool blocking, double speed_rad_s, double timeout_s) {
        return set_joint_positions(positions, joint_groups, joint_names, blocking, speed_rad_s, timeout_s);
      };
}

void WbcBase::clear_provider_slots() {
  const WbcBase* expected = this;
  if (g_slot_owner.compare_exchange_strong(expected, nullptr)) {
    JointStateProvider::get_whole_body_joint_state_func_ = nullptr;
    JointStateProvider::get_joint_positions_func_ = nullptr;
    JointPositionControlProvider::set_joint_positions_func_ = nullptr;
  }
}

void WbcBase::error_info_callback(const std::shared_ptr<tavrinox_proto::TavrinoXError>& message) {
  modules().common_utils->add_error_from_proto(message);
}

void WbcBase::wbc_info_callback(const std::shared_ptr<tavrinox_proto::WBCInfo>& message) {
  if (!message) {
    SDK_LOG(error) << "wbc_info_callback message is nullptr";
    return;
  }
  modules().common_utils->wbc_info_buffer().set_data(message);
  modules().joint_state_module->update_wbc_info(message);
  for (const auto& watch : service_watches_) {
    watch->look(steady_now());
  }
  if (sensor_base_ != nullptr) {
    sensor_base_->update_joint_sync_history(modules().joint_state_module->get_latest_joint_state_message());
  }
}

void WbcBase::sensor_callback(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& message) {
  modules().sensor_module->sensor_callback(message);
}

void WbcBase::odom_callback(const std::shared_ptr<navigation_proto::Odometry>& message) {
  modules().base_control->odom_callback(message);
}

}  // namespace norvik::sdk
