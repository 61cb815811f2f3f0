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

WbcBase::WbcBase() = default;

// The readers wait for their callbacks, which use the modules.
WbcBase::~WbcBase() {
  readers_.clear();
  clear_provider_slots();
}

bool WbcBase::wbc_base_init() {
  ovimux::OvimuxInit();
  std::call_once(init_once_, [this] { initialized_ = open_channels(); });
  if (wbcs_target_client_) {
    wbcs_target_client_->WaitForServerConnected(kServerTimeout);
  }
  if (wbcs_controller_client_) {
    wbcs_controller_client_->WaitForServerConnected(kServerTimeout);
  }
  std::call_once(slots_once_, [this] { publish_provider_slots(); });
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
  common_utils_ = std::make_shared<CommonUtils>(wbcs_target_writer_, wbcs_target_client_, wbcs_controller_client_);
  joint_manager_ = create_joint_manager();
  target_dispatcher_ = std::make_shared<TargetDispatcher>(common_utils_);
  controller_manager_ = create_controller_manager(common_utils_);
  target_proto_builder_ = create_target_proto_builder(joint_manager_);
  sensor_module_ = std::make_shared<SensorModule>(common_utils_, joint_manager_);
  joint_metadata_ = std::make_shared<JointMetadata>(common_utils_, joint_manager_, sensor_module_);
  joint_state_module_ = std::make_shared<JointStateModule>(common_utils_, joint_manager_, sensor_module_);
  end_effector_control_ = std::make_shared<EndEffectorControl>(common_utils_, joint_manager_, target_proto_builder_,
                                                               sensor_module_, joint_state_module_);
  base_control_ =
      std::make_unique<BaseControl>(common_utils_, target_proto_builder_, target_dispatcher_, controller_manager_);
  sensor_base_ = dynamic_cast<SensorBase*>(this);
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

void WbcBase::publish_provider_slots() {
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
  g_slot_owner = this;
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
  common_utils_->add_error_from_proto(message);
}

void WbcBase::wbc_info_callback(const std::shared_ptr<tavrinox_proto::WBCInfo>& message) {
  if (!message) {
    SDK_LOG(error) << "wbc_info_callback message is nullptr";
    return;
  }
  common_utils_->wbc_info_buffer().set_data(message);
  joint_state_module_->update_wbc_info(message);
  if (sensor_base_ != nullptr) {
    sensor_base_->update_joint_sync_history(joint_state_module_->get_latest_joint_state_message());
  }
}

void WbcBase::sensor_callback(const std::shared_ptr<tavrinox_proto::TavrinoXSensor>& message) {
  sensor_module_->sensor_callback(message);
}

void WbcBase::odom_callback(const std::shared_ptr<navigation_proto::Odometry>& message) {
  base_control_->odom_callback(message);
}

}  // namespace norvik::sdk
