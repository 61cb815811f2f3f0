// Links and runs against the perception component without a robot.
#include <iostream>
#include <opencv2/imgcodecs.hpp>

#include <norvik_sdk/norvik_perception.hpp>
#include <norvik_sdk/norvik_sdk.hpp>
#include <norvik_sdk/perception_utils.hpp>

int main() {
  using namespace norvik::sdk;
  DetectionResult result;
  result.poses.push_back(PerceptionUtils::correct_quaternion_to_x_forward(Eigen::Matrix4f::Identity()));
  result.point_clouds.push_back(result.cloud_maker(1));
  result.point_clouds.back()->push_back({1, 2, 3});
  std::cout << result.point_clouds.back()->front() << ", " << cv::haveImageWriter(".png") << '\n';

  const CallLog log;
  auto& perception = NorvikPerception::get_instance(MachineType::R5);
  const bool refused = !perception.get_latest_result(LIGHT_STEREO, result) && !perception.run_once(LIGHT_STEREO) &&
                       log.text() == "get_latest_result: not initialized\nsend_command: not initialized";
  return refused && result.poses[0](0, 2) == 1.0F ? 0 : 1;
}
