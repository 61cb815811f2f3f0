// Settings of the navigation, as JSON text or as a map.
#include <google/protobuf/util/json_util.h>

#include <nlohmann/json.hpp>

#include "navigation/navigation.hpp"
#include "norvik/kelvorn_proto/kelvorn_common.pb.h"
#include "services/services.hpp"
#include "wire/service_server.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

namespace {

using kelvorn_proto::GetSetMotionPlanConfigRequest;
using kelvorn_proto::MotionPlanConfig;
using kelvorn_proto::MotionPlanConfigResponse;
using nlohmann::json;

// Discarded when it is neither.
json read_config(const MotionPlanConfig& config) {
  if (!config.has_config_map()) {
    return json::parse(config.config_msg(), nullptr, false);
  }
  std::string text;
  const bool good = google::protobuf::util::MessageToJsonString(config.config_map(), &text).ok();
  return good ? json::parse(text, nullptr, false) : json(json::value_t::discarded);
}

MotionPlanConfigResponse make_response(const GetSetMotionPlanConfigRequest& request, const std::string& refusal) {
  MotionPlanConfigResponse response;
  *response.mutable_time() = now_stamp();
  response.set_task_id(request.task_id());
  response.set_status(refusal.empty() ? MotionPlanConfigResponse::SUCCESS : MotionPlanConfigResponse::FAILED);
  response.set_msg(refusal);
  return response;
}

class ConfigService : public Service {
 public:
  explicit ConfigService(Environment& environment)
      : navigation_(environment.navigation),
        server_(
            kNavigationConfigService, {}, environment,
            [this](const GetSetMotionPlanConfigRequest& request) { return answer(request); }, make_response) {}

  void tick(const Tick& /*tick*/) override {}

 private:
  MotionPlanConfigResponse answer(const GetSetMotionPlanConfigRequest& request) {
    const json config = read_config(request.configs());
    if (!config.is_object() || config.empty()) {
      return make_response(request, "no settings");
    }
    return request.operation() == kelvorn_proto::Get ? get(request, config)
                                                     : make_response(request, navigation_.change_settings(config));
  }

  // The keys that are asked for have no value.
  MotionPlanConfigResponse get(const GetSetMotionPlanConfigRequest& request, const json& config) {
    json values = json::object();
    for (const auto& [key, value] : config.items()) {
      if (key == "response_type") {
        continue;
      }
      const auto setting = navigation_.find_setting(key);
      if (!setting) {
        return make_response(request, "unknown setting " + printable_name(key));
      }
      values[key] = *setting;
    }
    MotionPlanConfigResponse response = make_response(request, "");
    const bool as_map = config.contains("response_type") && config["response_type"] == "map";
    MotionPlanConfig& configs = *response.mutable_configs();
    if (!as_map) {
      configs.set_config_msg(values.dump());
    } else if (!google::protobuf::util::JsonStringToMessage(values.dump(), configs.mutable_config_map()).ok()) {
      return make_response(request, "settings that make no map");
    }
    return response;
  }

  Navigation& navigation_;
  ServiceServer<GetSetMotionPlanConfigRequest, MotionPlanConfigResponse> server_;
};

}  // namespace

std::unique_ptr<Service> make_navigation_config_service(Environment& environment) {
  return std::make_unique<ConfigService>(environment);
}

}  // namespace norvik::simulator
