#pragma once

#include <memory>
#include <string>
#include <vector>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/commands/wbc_modules.hpp"

namespace norvik::sdk {

// What commands of single points and of whole trajectories share. The modules are there, except for has_dispatcher().

// Whether a command can be sent at all; one record if not.
bool has_dispatcher(const WbcModules& modules);

// Sends `target` and waits for the controller's answer, at most `timeout_s` rounded up to seconds. A failure is
// recorded under `operation`.
ControlStatus request_joint_target(const WbcModules& modules,
                                   const std::shared_ptr<tavrinox_proto::TavrinoXTarget>& target,
                                   const std::vector<std::string>& groups, double timeout_s, const char* operation);

// Whether `group` has arrived; a stop short of the target is recorded.
ControlStatus check_group_reached(const WbcModules& modules, const std::string& group);

}  // namespace norvik::sdk
