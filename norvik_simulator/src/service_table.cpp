#include "service_table.hpp"

#include "control/control_commands.hpp"
#include "perception/stereo_module.hpp"
#include "services/sensors/sensor_tables.hpp"
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

EndpointInfo kelvorn(const std::string& name, const std::string& message) {
  return {kOut, name, "norvik.kelvorn_proto." + message};
}

EndpointInfo kelvorn_service(const std::string& name, const std::string& request, const std::string& response) {
  return {kService, name, "norvik.kelvorn_proto." + request + " norvik.kelvorn_proto." + response};
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

std::vector<EndpointInfo> camera_endpoints(bool only_k2) {
  std::vector<EndpointInfo> endpoints;
  for (const CameraRow& row : camera_table()) {
    if (row.only_k2 == only_k2) {
      endpoints.push_back({kOut, row.image_topic(), "norvik.sensor_proto.CompressedImage"});
      endpoints.push_back({kOut, row.info_topic(), "norvik.sensor_proto.CameraInfo"});
    }
  }
  return endpoints;
}

std::vector<EndpointInfo> sensor_endpoints(const std::vector<SensorRow>& table, const std::string& robot,
                                           const std::string& type) {
  std::vector<EndpointInfo> endpoints;
  for (const SensorRow& row : table) {
    if (row.model == robot) {
      endpoints.push_back({kOut, row.topic, type});
    }
  }
  return endpoints;
}

std::vector<EndpointInfo> perception_endpoints() {
  const std::string package = "norvik.perception_proto.";
  std::vector<EndpointInfo> endpoints = {
      {kService, kPerceptionService, package + "ServerCommand " + package + "CommandReply"},
      {kOut, kPerceptionStatusTopic, package + "PerceptionStatus"}};
  for (const StereoModule& module : stereo_modules()) {
    endpoints.push_back({kOut, module.topic, package + "DetectionResult"});
  }
  return endpoints;
}

ServiceEntry sensor_entry(const char* name, const char* model, const char* robot, const std::vector<SensorRow>& table,
                          const char* type, std::unique_ptr<Service> (*make)(Environment&)) {
  return {name, {model}, sensor_endpoints(table, robot, type), make};
}

constexpr const char* kCloud = "norvik.sensor_proto.PointCloud2";
constexpr const char* kImu = "norvik.sensor_proto.ImuSensor";

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
      {"camera_parameters",
       {},
       {{kOut, kLeftCameraParameterTopic, "norvik.core_proto.StringValue"},
        {kOut, kRightCameraParameterTopic, "norvik.core_proto.StringValue"}},
       make_camera_parameter_service},
      {"cameras", {}, camera_endpoints(false), make_camera_service},
      {"surround_cameras", {"k2"}, camera_endpoints(true), make_surround_camera_service},
      sensor_entry("lidars", "k2", "K2", lidar_table(), kCloud, make_lidar_service),
      sensor_entry("lidars", "r5", "R5", lidar_table(), kCloud, make_lidar_service),
      sensor_entry("imus", "k2", "K2", imu_table(), kImu, make_imu_service),
      sensor_entry("imus", "r5", "R5", imu_table(), kImu, make_imu_service),
      {"ultrasonic", {}, {{kOut, kUltrasonicTopic, "json"}}, make_ultrasonic_service},
      {"audio",
       {"k2"},
       {{kOut, kMicrophoneTopic, "norvik.sensor_proto.Audio"}, {kIn, kSpeakerTopic, "norvik.sensor_proto.Audio"}},
       make_audio_service},
      {"hands", {"k2"}, hand_endpoints(), make_hand_service},
      {"planning",
       {},
       {kelvorn_service(kPlannerService, "MotionPlanServerRequest", "MotionPlannerOutput"),
        kelvorn_service(kPlannerDataService, "GetDataRequest", "DataResponse"),
        kelvorn_service(kPlannerKinematicService, "KinematicRequest", "KinematicResponse"),
        {kOut, kPlannerStatusTopic, "norvik.kelvorn_proto.PlannerStatus"}},
       make_planning_service},
      {"perception", {}, perception_endpoints(), make_perception_service},
      {"observer", {}, {}, make_observer_service},
      {"navigation",
       {},
       {kelvorn_service(kPlanService, "NavigationRequest", "NavigationResponse"),
        kelvorn_service(kPlanV2Service, "NavigationPlanRequest", "NavigationResponse"),
        kelvorn(kNavigationStatusTopic, "NavigationResult"), kelvorn(kNavigationServiceTopic, "PNSStatus"),
        kelvorn(kEvaluationTopic, "EvaluateGoalAvailabilityResponse")},
       make_plan_service},
      {"navigation_config",
       {},
       {kelvorn_service(kNavigationConfigService, "GetSetMotionPlanConfigRequest", "MotionPlanConfigResponse")},
       make_navigation_config_service},
      {"boxes",
       {},
       {{kService, kAddBoxService, "raw raw"},
        {kService, kRemoveBoxService, "raw raw"},
        {kService, kGetBoxService, "raw raw"}},
       make_box_service},
      {"localisation",
       {},
       {{kOut, kGlobalPoseTopic, "norvik.spatial_proto.PoseMsg"},
        {kOut, kLocalisationScoreTopic, "json"},
        {kIn, kInitialPoseTopic, "norvik.spatial_proto.PoseMsg"}},
       make_localisation_service},
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

std::vector<EndpointInfo> endpoints_of(const std::string& model) {
  std::vector<EndpointInfo> result;
  for (const ServiceEntry* entry : services_of(model)) {
    result.insert(result.end(), entry->endpoints.begin(), entry->endpoints.end());
  }
  return result;
}

}  // namespace norvik::simulator
