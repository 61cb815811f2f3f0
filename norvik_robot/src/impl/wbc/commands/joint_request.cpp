#include "impl/wbc/commands/joint_request.hpp"

#include "impl/wbc/common/command_wait.hpp"
#include "impl/wbc/common/module_check.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

bool has_dispatcher(const WbcModules& modules) { return is_created(modules.target_dispatcher, "target_dispatcher_"); }

ControlStatus request_joint_target(const WbcModules& modules,
                                   const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target,
                                   const std::vector<std::string>& groups, double timeout_s, const char* operation) {
  const auto [status, response] = modules.target_dispatcher->request_proto_target(target, ceil_to_seconds(timeout_s));
  if (status != ControlStatus::SUCCESS) {
    SDK_LOG(error) << operation << " dispatch fail";
    return status;
  }
  if (modules.common_utils->has_fatal_error(groups, response)) {
    SDK_LOG(error) << operation << " fault";
    return ControlStatus::FAULT;
  }
  return ControlStatus::SUCCESS;
}

ControlStatus check_group_reached(const WbcModules& modules, const std::string& group) {
  const ControlStatus reached =
      modules.common_utils->check_joint_reached(group, modules.joint_manager->final_position_error_of(group));
  if (reached == ControlStatus::STOPPED_UNREACHED) {
    SDK_LOG(error) << group << " joint group stop but unreach";
  }
  return reached;
}

}  // namespace norvik::sdk
