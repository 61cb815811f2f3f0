#include "model/model_channels.hpp"

#include <algorithm>

namespace norvik::tools {
namespace {

constexpr bool kLarge = true;
constexpr bool kSmall = false;
constexpr bool kLatched = true;
constexpr bool kLive = false;

const std::string kTarget = "norvik.tavrinox_proto.TavrinoXTarget";
const std::string kController = "norvik.tavrinox_proto.TavrinoXController";
const std::string kInfo = "norvik.tavrinox_proto.WBCInfo";
const std::string kError = "norvik.tavrinox_proto.TavrinoXError";
const std::string kState = "norvik.tavrinox_proto.TavrinoXSensor";
const std::string kGroupCommand = "norvik.tavrinox_proto.GroupCommand";
const std::string kOdometry = "norvik.navigation_proto.Odometry";
const std::string kTransforms = "norvik.tf2_proto.TF2Message";
const std::string kOnboardConfig = "norvik.system_proto.mission_manager_proto.OnboardConfig";
const std::string kImage = "norvik.sensor_proto.CompressedImage";
const std::string kCameraInfo = "norvik.sensor_proto.CameraInfo";
const std::string kCloud = "norvik.sensor_proto.PointCloud2";
const std::string kImu = "norvik.sensor_proto.ImuSensor";
const std::string kAudio = "norvik.sensor_proto.Audio";
const std::string kText = "norvik.core_proto.StringValue";
const std::string kPose = "norvik.spatial_proto.PoseMsg";
const std::string kKelvorn = "norvik.kelvorn_proto.";
const std::string kPerception = "norvik.perception_proto.";

ModelChannel stream(const std::string& name, Need need, bool large, bool latched, const std::string& type) {
  return {name, Role::kPublishes, need, large, latched, type};
}

ModelChannel service(const std::string& name, Need need, bool large, const std::string& type,
                     const std::string& response) {
  return {name, Role::kServes, need, large, kLive, type, response};
}

// Pictures of a camera, and the topic next to them that describes it.
void add_camera(std::vector<ModelChannel>& channels, const std::string& folder, const std::string& image, Need need) {
  channels.push_back(stream(folder + image, need, kLarge, kLive, kImage));
  channels.push_back(stream(folder + "camera_info", Need::kOptional, kSmall, kLive, kCameraInfo));
}

std::vector<ModelChannel> make_body() {
  return {
      {"tavrinox/wbcs/target", Role::kReads, Need::kEssential, kSmall, kLive, kTarget},
      service("tavrinox/wbcs/target_server", Need::kEssential, kLarge, kTarget, kError),
      service("tavrinox/wbcs/controller_server", Need::kEssential, kLarge, kController, kError),
      stream("tavrinox/wbcs/wbc_info", Need::kEssential, kSmall, kLive, kInfo),
      stream("tavrinox/wbcs/error", Need::kEssential, kSmall, kLive, kError),
      stream("tavrinox/wbcs/sensor", Need::kEssential, kSmall, kLive, kState),
      stream("/odom/base_link", Need::kEssential, kSmall, kLive, kOdometry),
      stream("/ovimux_tf", Need::kEssential, kSmall, kLive, kTransforms),
      stream("/ovimux_tf_static", Need::kEssential, kSmall, kLatched, kTransforms),
      stream("/norvik/mission_manager/onboard_config", Need::kEssential, kSmall, kLive, kOnboardConfig),
      stream("bms", Need::kSensor, kSmall, kLive, kRawType),
      stream("base_ultra", Need::kSensor, kSmall, kLive, kRawType),
      stream("/lidar_chassis_f/lidar/data_raw", Need::kSensor, kLarge, kLive, kCloud),
      stream("/lidar_chassis_f/imu/data_raw", Need::kSensor, kLarge, kLive, kImu),
      stream("/cam_arm_l/meta_data/params", Need::kOptional, kSmall, kLatched, kText),
      stream("/cam_arm_r/meta_data/params", Need::kOptional, kSmall, kLatched, kText),
  };
}

void add_hands(std::vector<ModelChannel>& channels) {
  for (const std::string side : {"L", "R"}) {
    const std::string hand = "/endtool/sharpa_dexhand_" + side;
    channels.push_back(stream(hand + "/joint", Need::kOptional, kSmall, kLive, kState));
    channels.push_back(stream(hand + "/force", Need::kOptional, kSmall, kLive, kState));
    channels.push_back(stream(hand + "/ecode_status", Need::kOptional, kSmall, kLive, kError));
    channels.push_back({hand + "/command_noblock", Role::kReads, Need::kOptional, kSmall, kLive, kGroupCommand});
  }
}

// Services beside the body, which run on some robots. The box service speaks a binary format of its own.
void add_planners(std::vector<ModelChannel>& channels) {
  const std::vector<ModelChannel> planners = {
      service("motion_planning_service", Need::kOptional, kSmall, kKelvorn + "MotionPlanServerRequest",
              kKelvorn + "MotionPlannerOutput"),
      service("motion_planning_service/get_data", Need::kOptional, kSmall, kKelvorn + "GetDataRequest",
              kKelvorn + "DataResponse"),
      service("motion_planning_service/kinematic", Need::kOptional, kSmall, kKelvorn + "KinematicRequest",
              kKelvorn + "KinematicResponse"),
      stream("motion_planning_service/status", Need::kOptional, kSmall, kLive, kKelvorn + "PlannerStatus"),
      service("/norvik/pns/navigation_plan", Need::kOptional, kSmall, kKelvorn + "NavigationRequest",
              kKelvorn + "NavigationResponse"),
      service("/norvik/pns/navigation_plan_v2", Need::kOptional, kSmall, kKelvorn + "NavigationPlanRequest",
              kKelvorn + "NavigationResponse"),
      service("/norvik/pns/get_set_config", Need::kOptional, kSmall, kKelvorn + "GetSetMotionPlanConfigRequest",
              kKelvorn + "MotionPlanConfigResponse"),
      stream("/norvik/pns/navigation_status", Need::kOptional, kSmall, kLive, kKelvorn + "NavigationResult"),
      stream("/norvik/pns/status", Need::kOptional, kSmall, kLive, kKelvorn + "PNSStatus"),
      stream("/norvik/pns/evaluate_goal_availability", Need::kOptional, kSmall, kLive,
             kKelvorn + "EvaluateGoalAvailabilityResponse"),
      {"/norvik/mes/initial_pose", Role::kReads, Need::kOptional, kSmall, kLive, kPose},
      stream("/norvik/mes/global_pose", Need::kOptional, kSmall, kLive, kPose),
      stream("/norvik/mes/localization_score", Need::kOptional, kSmall, kLive, kRawType),
      service("norvik_fusion_add_box", Need::kOptional, kSmall, kRawType, kRawType),
      service("norvik_fusion_remove_box", Need::kOptional, kSmall, kRawType, kRawType),
      service("norvik_fusion_get_box", Need::kOptional, kSmall, kRawType, kRawType),
      service("/norvik_perception/command", Need::kOptional, kSmall, kPerception + "ServerCommand",
              kPerception + "CommandReply"),
      stream("/norvik_perception/status", Need::kOptional, kSmall, kLive, kPerception + "PerceptionStatus"),
      stream("/norvik_perception/stereo_depth", Need::kOptional, kLarge, kLive, kPerception + "DetectionResult"),
      stream("/norvik_perception/foundation_stereo_depth", Need::kOptional, kLarge, kLive,
             kPerception + "DetectionResult"),
  };
  channels.insert(channels.end(), planners.begin(), planners.end());
}

std::vector<ModelChannel> make_of_every_model() {
  std::vector<ModelChannel> channels = make_body();
  add_camera(channels, "/front_head_camera/left_color/", "image_raw", Need::kSensor);
  add_camera(channels, "/front_head_camera/right_color/", "image_raw", Need::kSensor);
  for (const std::string arm : {"/left_arm_camera/", "/right_arm_camera/"}) {
    add_camera(channels, arm + "color/", "image_raw", Need::kSensor);
    add_camera(channels, arm + "depth/", "image_raw", Need::kSensor);
    add_camera(channels, arm + "infra1/", "image_rect_raw", Need::kOptional);
    add_camera(channels, arm + "infra2/", "image_rect_raw", Need::kOptional);
  }
  add_hands(channels);
  add_planners(channels);
  return channels;
}

std::vector<ModelChannel> make_of_k2() {
  std::vector<ModelChannel> channels = {
      stream("/chassis/imu", Need::kSensor, kSmall, kLive, kImu),
      stream("/norvik/mic", Need::kSensor, kSmall, kLive, kAudio),
      {"/norvik/spk", Role::kReads, Need::kSensor, kSmall, kLive, kAudio},
  };
  for (const std::string corner : {"left_front", "right_front", "left_rear", "right_rear"}) {
    add_camera(channels, "/" + corner + "_surround/color/", "image_raw", Need::kSensor);
  }
  return channels;
}

std::vector<ModelChannel> make_of_r5() {
  return {
      stream("/lidar_head_f/lidar/data_raw", Need::kSensor, kLarge, kLive, kCloud),
      stream("/lidar_body_b/lidar/data_raw", Need::kSensor, kLarge, kLive, kCloud),
      stream("/lidar_head_f/imu/data_raw", Need::kSensor, kLarge, kLive, kImu),
      stream("/lidar_body_b/imu/data_raw", Need::kSensor, kLarge, kLive, kImu),
  };
}

const std::vector<ModelChannel>& of_every_model() {
  static const auto kChannels = make_of_every_model();
  return kChannels;
}

const std::vector<ModelChannel>& only_of(const std::string& model) {
  static const auto kOfK2 = make_of_k2();
  static const auto kOfR5 = make_of_r5();
  return model == "k2" ? kOfK2 : kOfR5;
}

}  // namespace

const std::vector<std::string>& known_models() {
  static const std::vector<std::string> kModels = {"k2", "r5"};
  return kModels;
}

std::vector<ModelChannel> channels_of_model(const std::string& model) {
  std::vector<ModelChannel> channels = of_every_model();
  const auto& own = only_of(model);
  channels.insert(channels.end(), own.begin(), own.end());
  return channels;
}

const ModelChannel* known_channel(const std::string& name) {
  const auto named = [&name](const ModelChannel& channel) { return channel.name == name; };
  for (const auto* channels : {&of_every_model(), &only_of("k2"), &only_of("r5")}) {
    const auto found = std::find_if(channels->begin(), channels->end(), named);
    if (found != channels->end()) {
      return &*found;
    }
  }
  return nullptr;
}

}  // namespace norvik::tools
