#pragma once

#include <norvik_sdk/motion_plan_config.hpp>
#include <norvik_sdk/types.hpp>

#include "impl/tables/motion_plan_data_checker.hpp"
#include "norvik/kelvorn_proto/mps_interface.pb.h"

namespace norvik::sdk {

// The request that changes what `config` holds, and nothing else. INVALID_INPUT, with the reason in the log, for limits
// that do not fit the robot and for values that are none.
MotionStatus fill_config_setting(const DataChecker& checker, const MotionPlanConfig& config,
                                 kelvorn_proto::ConfigSettingRequest& request);

}  // namespace norvik::sdk
