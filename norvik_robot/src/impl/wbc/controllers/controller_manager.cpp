#include "impl/wbc/controllers/controller_manager.hpp"

#include "impl/wbc/common/common_utils.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::seconds kRequestTimeout{5};

// A request about one group, told only by its option.
ControllerManager::ControllerRequest make_option_request(const std::string& group,
                                                         tavrinox_proto::ControllerOption option) {
  auto request = std::make_shared<tavrinox_proto::TavrinoXController>();
  (*request->mutable_ctrl_config_map())[group].set_ctrl_option(option);
  return request;
}

}  // namespace

ControllerManager::ControllerManager(std::shared_ptr<CommonUtils> common_utils)
    : common_utils_(std::move(common_utils)) {}

ControllerManager::~ControllerManager() = default;

void ControllerManager::init_route_maps(const std::vector<CtrlRoute>& routes) {
  for (const CtrlRoute& route : routes) {
    route_by_controller_[route.controller_name] = {route.group_name, route.ctrl_id};
    controllers_by_group_[route.group_name][route.ctrl_id] = route.controller_name;
  }
}

std::optional<std::pair<std::string, int>> ControllerManager::find_group_and_id(
    const std::string& controller_name) const {
  const auto route = route_by_controller_.find(controller_name);
  if (route == route_by_controller_.end()) {
    return std::nullopt;
  }
  return route->second;
}

std::optional<std::string> ControllerManager::find_controller_name(const std::string& group, int ctrl_id) const {
  const auto controllers = controllers_by_group_.find(group);
  if (controllers == controllers_by_group_.end()) {
    return std::nullopt;
  }
  const auto controller = controllers->second.find(ctrl_id);
  if (controller == controllers->second.end()) {
    return std::nullopt;
  }
  return controller->second;
}

bool ControllerManager::has_controller_group(const std::string& group) const {
  return supported_group_names().count(group) != 0;
}

std::string ControllerManager::get_active_controller(const std::string& group) const {
  if (!has_controller_group(group)) {
    SDK_LOG(error) << "get_active_controller: unsupported group name " << group;
    return kNoControllerName;
  }
  const std::optional<int> ctrl_id = find_active_id(group);
  if (!ctrl_id) {
    SDK_LOG(warning) << "get_active_controller: active controller is unknown for group " << group;
    return kNoControllerName;
  }
  const std::optional<std::string> name = find_controller_name(group, *ctrl_id);
  if (!name) {
    SDK_LOG(warning) << "get_active_controller: active controller not found for group " << group << " with id "
                     << *ctrl_id;
    return kNoControllerName;
  }
  return *name;
}

ControlStatus ControllerManager::switch_controller(const std::string& controller_name, bool force_switch) {
  const auto route = find_group_and_id(controller_name);
  if (!route) {
    SDK_LOG(error) << "switch_controller invalid input, controller_name: " << controller_name;
    return ControlStatus::INVALID_INPUT;
  }
  const auto& [group, ctrl_id] = *route;
  if (!is_switch_needed(controller_name, group, ctrl_id, force_switch)) {
    return ControlStatus::SUCCESS;
  }
  ErrorInfo unread;
  return switch_controller(group, unread, ctrl_id);
}

bool ControllerManager::is_switch_needed(const std::string& controller_name, const std::string& group, int ctrl_id,
                                         bool force_switch) {
  const std::optional<int> active_id = find_active_id(group);
  if (!active_id) {
    SDK_LOG(info) << "cur controller mode is unknown, will switch to " << controller_name;
    return true;
  }
  const std::optional<std::string> active_name = find_controller_name(group, *active_id);
  if (!active_name) {
    return true;
  }
  if (*active_name != controller_name) {
    SDK_LOG(info) << "cur controller mode is " << *active_name << " ,will switch to " << controller_name;
    return true;
  }
  if (force_switch) {
    SDK_LOG(info) << "force_switch is true , group_name:" << group << " ,ctrl_id: " << ctrl_id;
    return true;
  }
  SDK_LOG(warning) << "switch_controller ignored, current controller is already " << controller_name;
  warn_of_lost_server(group, controller_name);
  return false;
}

ControlStatus ControllerManager::switch_controller(const std::string& group, ErrorInfo& error_info, int ctrl_id) {
  if (!has_controller_group(group) || !find_controller_name(group, ctrl_id)) {
    SDK_LOG(error) << "switch_controller invalid input, group_name: " << group << ", ctrl_id: " << ctrl_id;
    return ControlStatus::INVALID_INPUT;
  }
  const auto client = common_utils_->get_wbcs_controller_client();
  if (!client) {
    SDK_LOG(error) << "switch_controller client is null";
    return ControlStatus::INIT_FAILED;
  }
  const auto response = client->SendRequest(generate_controller_switch(group, ctrl_id), kRequestTimeout);
  if (!response) {
    SDK_LOG(error) << "switch_controller timeout";
    return ControlStatus::TIMEOUT;
  }
  if (common_utils_->has_fatal_error(group, response)) {
    common_utils_->transform_to_error_info(response, error_info);
    SDK_LOG(error) << "switch_controller fault";
    return ControlStatus::FAULT;
  }
  SDK_LOG(info) << "switch_controller success";
  remember_active_id(group, ctrl_id);
  return ControlStatus::SUCCESS;
}

ControlStatus ControllerManager::reload_controller(const std::string& group) {
  const ControlStatus status = execute_group_command(group, generate_controller_reload, "reload_controller");
  if (status == ControlStatus::SUCCESS) {
    note_stopped(group);
  }
  return status;
}

ControlStatus ControllerManager::release_controller(const std::string& group) {
  const ControlStatus status = execute_group_command(group, generate_controller_release, "release_controller");
  if (status == ControlStatus::SUCCESS) {
    forget_active_id(group);
    note_stopped(group);
  }
  return status;
}

ControlStatus ControllerManager::start_controller(const std::string& group) {
  return execute_group_command(group, generate_controller_start, "start_controller");
}

ControlStatus ControllerManager::stop_controller(const std::string& group) {
  const ControlStatus status = execute_group_command(group, generate_controller_stop, "stop_controller");
  if (status == ControlStatus::SUCCESS) {
    note_stopped(group);
  }
  return status;
}

ControlStatus ControllerManager::execute_group_command(const std::string& group, GroupRequest generate,
                                                       const char* operation) {
  if (group != kAllGroups && !has_controller_group(group)) {
    SDK_LOG(error) << operation << " invalid input, group_name: " << group;
    return ControlStatus::INVALID_INPUT;
  }
  return execute_controller_command(
      group, [&] { return generate(group); }, operation);
}

ControlStatus ControllerManager::execute_controller_command(const std::string& group, const MakeRequest& make_request,
                                                            const std::string& operation) {
  const auto client = common_utils_->get_wbcs_controller_client();
  if (!client) {
    SDK_LOG(error) << operation << " client is null";
    return ControlStatus::INIT_FAILED;
  }
  const auto response = client->SendRequest(make_request(), kRequestTimeout);
  if (!response) {
    SDK_LOG(error) << operation << " timeout";
    return ControlStatus::TIMEOUT;
  }
  if (has_fatal_answer(group, response)) {
    SDK_LOG(error) << operation << " fault";
    return ControlStatus::FAULT;
  }
  SDK_LOG(info) << operation << " success";
  return ControlStatus::SUCCESS;
}

// A base that was stopped with its group, or with all, follows no velocity of this process any more.
void ControllerManager::note_stopped(const std::string& group) const {
  if (group == kAllGroups || group == get_chassis_group_name_impl()) {
    common_utils_->motions_under_way().base_velocity_ended();
  }
}

bool ControllerManager::has_fatal_answer(const std::string& group,
                                         const std::shared_ptr<tavrinox_proto::TavrinoXError>& response) const {
  if (group != kAllGroups) {
    return common_utils_->has_fatal_error(group, response);
  }
  const auto& groups = supported_group_names();
  return common_utils_->has_fatal_error(std::vector<std::string>(groups.begin(), groups.end()), response);
}

std::shared_ptr<tavrinox_proto::TavrinoXError> ControllerManager::send_stop_controller_request(
    const std::string& group, std::chrono::seconds timeout) const {
  const auto client = common_utils_->get_wbcs_controller_client();
  return client ? client->SendRequest(generate_controller_stop(group), timeout) : nullptr;
}

ControllerManager::ControllerRequest ControllerManager::generate_controller_switch(const std::string& group,
                                                                                   int ctrl_id) {
  auto request = make_option_request(group, tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_SWITCH);
  (*request->mutable_ctrl_config_map())[group].set_ctrl_id(ctrl_id);
  return request;
}

ControllerManager::ControllerRequest ControllerManager::generate_controller_reload(const std::string& group) {
  return make_option_request(group, tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_RELOAD);
}

ControllerManager::ControllerRequest ControllerManager::generate_controller_release(const std::string& group) {
  return make_option_request(group, tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_RELEASE);
}

ControllerManager::ControllerRequest ControllerManager::generate_controller_start(const std::string& group) {
  return make_option_request(group, tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_START);
}

ControllerManager::ControllerRequest ControllerManager::generate_controller_stop(const std::string& group) {
  return make_option_request(group, tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_STOP);
}

unsigned ControllerManager::lost_server_count() const {
  const auto client = common_utils_->get_wbcs_controller_client();
  return client ? client->GetLostServerCount() : 0;
}

void ControllerManager::warn_of_lost_server(const std::string& group, const std::string& controller_name) {
  const unsigned lost = lost_server_count();
  {
    const std::lock_guard<std::mutex> lock(active_mutex_);
    const auto active = active_.find(group);
    if (active == active_.end() || lost <= active->second.lost_servers) {
      return;
    }
    active->second.lost_servers = lost;
  }
  SDK_LOG(warning) << "the controller service was lost since " << controller_name << " was made active: a restarted "
                   << "robot has another controller active and ignores or refuses commands to this one; "
                   << "forget_controllers(robot) or release_controller(\"" << group
                   << "\") lets the next command switch again";
}

std::optional<int> ControllerManager::find_active_id(const std::string& group) const {
  const std::lock_guard<std::mutex> lock(active_mutex_);
  const auto active = active_.find(group);
  if (active == active_.end()) {
    return std::nullopt;
  }
  return active->second.ctrl_id;
}

void ControllerManager::remember_active_id(const std::string& group, int ctrl_id) {
  // A killed server counts as there until its lease ends: of several, one has just answered, and the others are as good
  // as lost.
  const auto client = common_utils_->get_wbcs_controller_client();
  const unsigned gone = client ? std::max(1U, client->GetMatchedServerCount()) - 1 : 0;
  const unsigned lost = lost_server_count() + gone;
  const std::lock_guard<std::mutex> lock(active_mutex_);
  active_[group] = {ctrl_id, lost};
}

void ControllerManager::forget_active_id(const std::string& group) {
  const std::lock_guard<std::mutex> lock(active_mutex_);
  if (group == kAllGroups) {
    active_.clear();
  } else {
    active_.erase(group);
  }
}

void ControllerManager::forget_active_controllers() { forget_active_id(kAllGroups); }

}  // namespace norvik::sdk
