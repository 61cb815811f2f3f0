// Finds the objects that the camera in the head sees: prints where they are, the nearest point of each one's cloud, and
// saves the mask as a PNG file (default: mask.png), each object in a colour of its own.

#include <algorithm>
#include <limits>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include <norvik_sdk/norvik_perception.hpp>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr PerceptionModule kModule = LIGHT_STEREO;
constexpr double kPatience = 10.0;  // seconds

double nearest(const PerceptionCloud& cloud) {
  float distance = std::numeric_limits<float>::infinity();
  for (const auto& point : cloud) {
    distance = std::min(distance, point.getVector3fMap().norm());
  }
  return distance;
}

bool look(NorvikPerception& perception, DetectionResult& result) {
  const CallLog log;
  const bool seen = perception.run_once(kModule) && perception.wait_for_new_result(kModule, kPatience) &&
                    perception.get_latest_result(kModule, result);
  std::cout << log.text();
  return seen && !result.point_clouds.empty();
}

// The first cloud is that of everything, then comes one for each object.
void print(const DetectionResult& result) {
  std::cout << result.point_clouds[0]->size() << " points, " << result.poses.size() << " objects in " << result.frame_id
            << std::endl;
  for (size_t i = 0; i < result.poses.size(); ++i) {
    std::cout << "  object " << i + 1 << " at (" << result.poses[i].topRightCorner<3, 1>().transpose() << ") m";
    if (i + 1 < result.point_clouds.size()) {
      std::cout << ", its nearest point " << nearest(*result.point_clouds[i + 1]) << " m away";
    }
    std::cout << std::endl;
  }
}

bool save_mask(const DetectionResult& result, const std::string& file) {
  if (result.instance_mask.type() != CV_8UC1 || result.instance_mask.empty()) {
    std::cout << "No mask came." << std::endl;
    return false;
  }
  cv::Mat colours;
  cv::applyColorMap(result.instance_mask * (255.0 / std::max<size_t>(result.poses.size(), 1)), colours,
                    cv::COLORMAP_TURBO);
  const bool saved = cv::imwrite(file, colours);
  std::cout << (saved ? "Saved " : "Could not save ") << file << std::endl;
  return saved;
}

}  // namespace

int main(int argc, char** argv) {
  auto& perception = NorvikPerception::get_instance(examples::model());
  DetectionResult result;
  const bool good = perception.init({kModule}) && look(perception, result);
  if (good) {
    print(result);
  }
  const bool saved = good && save_mask(result, argc > 1 ? argv[1] : "mask.png");
  std::cout << (saved && !result.poses.empty() ? "Done." : "Failed.") << std::endl;
  return saved && !result.poses.empty() ? 0 : 1;
}
