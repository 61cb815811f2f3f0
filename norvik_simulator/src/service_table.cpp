#include "control_commands.hpp"
#include "service.hpp"
#include "services/services.hpp"

namespace norvik::simulator {

namespace {

constexpr Direction kOut = Direction::kPublishes;
constexpr Direction kIn = Direction::kSubscribes;
constexpr Direction kService = Direction::kServes;

EndpointInfo tavrinox(Direction direction, const std::string& name, const std::string& message) {
  return {direction, name, "norvik.tavrinox_proto." + message};
}

EndpointInfo tavrinox_service(const std::string& name, const std::string& request, const std::string& response) {
  return {kService, name, "norvik.tavrinox_proto." + request + " norvik.tavrinox_proto." + response};
}

std::vector<EndpointInfo> hand_endpoints() {
  std::vector<EndpointInfo> endpoints;
  for (const std::string topics : {kLeftHandTopics, kRightHandTopics}) {
    endpoints.push_back(tavrinox(kOut, topics + "joint", "TavrinoXSensor"));
    endpoints.push_back(tavrinox(kOut, topics + "force", "TavrinoXSensor"));
    endpoints.push_back(tavrinox(kOut, topics + "ecode_status", "TavrinoXError"));
    endpoints.push_back(tavrinox(kIn, topics + "command_noblock", "GroupCommand"));
  }
  return endpoints;
}

}  // namespace

const std::vector<ServiceEntry>& service_table() {
  static const std::vector<ServiceEntry> kTable = {
      {"target",
       {},
       {tavrinox(kIn, kTargetTopic, "TavrinoXTarget"),
        tavrinox_service(kTargetService, "TavrinoXTarget", "TavrinoXError")},
       make_target_service},
      {"controller",
       {},
       {tavrinox_service(kControllerService, "TavrinoXController", "TavrinoXError")},
       make_controller_service},
      {"state",
       {},
       {tavrinox(kOut, kInfoTopic, "WBCInfo"), tavrinox(kOut, kSensorTopic, "TavrinoXSensor"),
        tavrinox(kOut, kErrorTopic, "TavrinoXError")},
       make_state_service},
      {"odometry", {}, {{kOut, kOdometryTopic, "norvik.navigation_proto.Odometry"}}, make_odometry_service},
      {"transforms",
       {},
       {{kOut, kTransformTopic, "norvik.tf2_proto.TF2Message"},
        {kOut, kStaticTransformTopic, "norvik.tf2_proto.TF2Message"}},
       make_transform_service},
      {"onboard_config",
       {},
       {{kOut, kOnboardConfigTopic, "norvik.system_proto.mission_manager_proto.OnboardConfig"}},
       make_onboard_config_service},
      {"battery", {}, {{kOut, kBatteryTopic, "json"}}, make_battery_service},
      {"hands", {"k2"}, hand_endpoints(), make_hand_service},
      {"control", {}, {{kService, kControlService, "json json"}}, make_control_service},
  };
  return kTable;
}

std::vector<const ServiceEntry*> services_of(const std::string& model) {
  std::vector<const ServiceEntry*> result;
  for (const ServiceEntry& entry : service_table()) {
    bool serves = entry.models.empty();
    for (const std::string& served : entry.models) {
      serves = serves || served == model;
    }
    if (serves) {
      result.push_back(&entry);
    }
  }
  return result;
}

}  // namespace norvik::simulator
