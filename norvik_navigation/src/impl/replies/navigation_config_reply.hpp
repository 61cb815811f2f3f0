#pragma once

#include <memory>
#include <string>

#include <norvik_sdk/navigation_types.hpp>

#include "norvik/kelvorn_proto/kelvorn_common.pb.h"

namespace norvik::sdk {

using NaviConfigReply = kelvorn_proto::MotionPlanConfigResponse;

// Whether the reply is that of the request `task_id`. REQUEST_FAILED, with a log line that begins with `name`, for one
// of another request.
NaviStatus check_config_reply_id(const std::string& name, const std::string& task_id, const NaviConfigReply& reply);

// Writes the configuration of a reply into the log. REQUEST_FAILED, with the reason, when it cannot be read.
NaviStatus log_config_reply(const std::string& key, const NaviConfigReply& reply);

}  // namespace norvik::sdk
