#pragma once

#include <norvik_sdk/types.hpp>

#include "norvik/system_proto/mission_manager_proto/onboard_config.pb.h"

namespace norvik::sdk {

// A device of this maker of which nothing else is known.
DeviceInfo default_device_info();

// The device that `config` describes; what it leaves out stays empty.
DeviceInfo device_info_from(const system_proto::mission_manager_proto::OnboardConfig& config);

}  // namespace norvik::sdk
