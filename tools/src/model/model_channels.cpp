#include "model/model_channels.hpp"

namespace norvik::tools {
namespace {

const std::vector<ModelChannel> kOfEveryModel = {
    {"tavrinox/wbcs/target", Role::kReads, true},
    {"tavrinox/wbcs/target_server", Role::kServes, true},
    {"tavrinox/wbcs/controller_server", Role::kServes, true},
    {"tavrinox/wbcs/wbc_info", Role::kPublishes, true},
    {"tavrinox/wbcs/error", Role::kPublishes, true},
    {"tavrinox/wbcs/sensor", Role::kPublishes, true},
    {"/odom/base_link", Role::kPublishes, true},
    {"/ovimux_tf", Role::kPublishes, true},
    {"/ovimux_tf_static", Role::kPublishes, true},
    {"/norvik/mission_manager/onboard_config", Role::kPublishes, true},
    {"bms", Role::kPublishes, false},
    {"base_ultra", Role::kPublishes, false},
    {"/front_head_camera/left_color/image_raw", Role::kPublishes, false},
    {"/front_head_camera/right_color/image_raw", Role::kPublishes, false},
    {"/left_arm_camera/color/image_raw", Role::kPublishes, false},
    {"/left_arm_camera/depth/image_raw", Role::kPublishes, false},
    {"/right_arm_camera/color/image_raw", Role::kPublishes, false},
    {"/right_arm_camera/depth/image_raw", Role::kPublishes, false},
    {"/lidar_chassis_f/lidar/data_raw", Role::kPublishes, false},
    {"/lidar_chassis_f/imu/data_raw", Role::kPublishes, false},
};

const std::vector<ModelChannel> kOfK2 = {
    {"/left_front_surround/color/image_raw", Role::kPublishes, false},
    {"/right_front_surround/color/image_raw", Role::kPublishes, false},
    {"/left_rear_surround/color/image_raw", Role::kPublishes, false},
    {"/right_rear_surround/color/image_raw", Role::kPublishes, false},
    {"/chassis/imu", Role::kPublishes, false},
    {"/norvik/mic", Role::kPublishes, false},
    {"/norvik/spk", Role::kReads, false},
};

const std::vector<ModelChannel> kOfR5 = {
    {"/lidar_head_f/lidar/data_raw", Role::kPublishes, false},
    {"/lidar_body_b/lidar/data_raw", Role::kPublishes, false},
    {"/lidar_head_f/imu/data_raw", Role::kPublishes, false},
    {"/lidar_body_b/imu/data_raw", Role::kPublishes, false},
};

}  // namespace

const std::vector<std::string>& known_models() {
  static const std::vector<std::string> kModels = {"k2", "r5"};
  return kModels;
}

std::vector<ModelChannel> channels_of_model(const std::string& model) {
  std::vector<ModelChannel> channels = kOfEveryModel;
  const auto& own = model == "k2" ? kOfK2 : kOfR5;
  channels.insert(channels.end(), own.begin(), own.end());
  return channels;
}

}  // namespace norvik::tools
