#include "impl/replies/navigation_config_reply.hpp"

#include <exception>
#include <stdexcept>
#include <nlohmann/json.hpp>

#include "sdk_log.hpp"

namespace norvik::sdk {

using nlohmann::json;

namespace {

// Writing a value out takes stack for each level.
constexpr int kMostLevels = 100;

json parse_config(const std::string& text) {
  return json::parse(text, [](int depth, json::parse_event_t, const json&) {
    return depth <= kMostLevels ? true : throw std::invalid_argument("too many levels");
  });
}

NaviStatus log_config_text(const std::string& text) {
  SDK_LOG(info) << "navigation config msg: " << text;
  try {
    const std::string dumped = parse_config(text).dump(-1, ' ', false, json::error_handler_t::replace);
    SDK_LOG(info) << "navigation config json: " << dumped;
  } catch (const std::exception& error) {
    SDK_LOG(error) << "parse navigation config json failed: " << error.what();
    return NaviStatus::REQUEST_FAILED;
  }
  return NaviStatus::SUCCESS;
}

}  // namespace

NaviStatus check_config_reply_id(const std::string& name, const std::string& task_id, const NaviConfigReply& reply) {
  if (reply.task_id() == task_id) {
    return NaviStatus::SUCCESS;
  }
  SDK_LOG(error) << name << " response task_id mismatch, request: " << task_id << ", response: " << reply.task_id();
  return NaviStatus::REQUEST_FAILED;
}

NaviStatus log_config_reply(const std::string& key, const NaviConfigReply& reply) {
  if (!reply.has_configs()) {
    SDK_LOG(error) << "get navigation config response has no configs, key: " << key;
    return NaviStatus::REQUEST_FAILED;
  }
  const auto& configs = reply.configs();
  switch (configs.config_case()) {
    case kelvorn_proto::MotionPlanConfig::kConfigMap:
      SDK_LOG(info) << "navigation config map: " << configs.config_map().DebugString();
      return NaviStatus::SUCCESS;
    case kelvorn_proto::MotionPlanConfig::kConfigMsg:
      return log_config_text(configs.config_msg());
    default:
      SDK_LOG(error) << "navigation config response configs is empty, key: " << key;
      return NaviStatus::REQUEST_FAILED;
  }
}

}  // namespace norvik::sdk
