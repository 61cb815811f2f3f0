// Saves what each camera sees as a PNG file, depth in false colours, into the folder given (default: the current one).

#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kPatience = 5.0;     // seconds
constexpr double kFarthest = 5000.0;  // pixel value that gets the last of the false colours
std::filesystem::path folder = ".";

const std::set<SensorType> kColourCameras = {SensorType::HEAD_LEFT_CAMERA, SensorType::HEAD_RIGHT_CAMERA,
                                             SensorType::LEFT_ARM_CAMERA, SensorType::RIGHT_ARM_CAMERA};
const std::set<SensorType> kSurroundCameras = {
    SensorType::LEFT_FRONT_SURROUND_CAMERA, SensorType::RIGHT_FRONT_SURROUND_CAMERA,
    SensorType::LEFT_REAR_SURROUND_CAMERA, SensorType::RIGHT_REAR_SURROUND_CAMERA};
const std::set<SensorType> kDepthCameras = {SensorType::LEFT_ARM_DEPTH_CAMERA, SensorType::RIGHT_ARM_DEPTH_CAMERA};

std::set<SensorType> colour_cameras() {
  std::set<SensorType> cameras = kColourCameras;
  if (examples::model() == MachineType::K2) {  // The R5 has no surround cameras.
    cameras.insert(kSurroundCameras.begin(), kSurroundCameras.end());
  }
  return cameras;
}

bool save(SensorType camera, const cv::Mat& picture) {
  const auto file = folder / (to_string(camera) + ".png");
  const bool saved = cv::imwrite(file.string(), picture);
  std::cout << (saved ? "Saved " : "Could not save ") << file.string() << ", " << picture.cols << " x " << picture.rows
            << std::endl;
  return saved;
}

bool missing(SensorType camera) {
  std::cout << "No picture from " << camera << std::endl;
  return false;
}

bool save_colour(NorvikRobot& robot, SensorType camera) {
  std::shared_ptr<RgbData> data;
  examples::wait_until([&] { return (data = robot.get_rgb_data(camera)) != nullptr; }, kPatience);
  const auto picture = data ? data->convert_to_cv2_mat() : nullptr;
  return picture ? save(camera, *picture) : missing(camera);
}

bool save_depth(NorvikRobot& robot, SensorType camera) {
  std::shared_ptr<DepthData> data;
  examples::wait_until([&] { return (data = robot.get_depth_data(camera)) != nullptr; }, kPatience);
  const auto depth = data ? data->convert_to_cv2_mat() : nullptr;  // Lives as long as `data`.
  if (!depth) {
    return missing(camera);
  }
  cv::Mat grey, colours;
  depth->convertTo(grey, CV_8U, 255.0 / kFarthest);
  cv::applyColorMap(grey, colours, cv::COLORMAP_TURBO);
  return save(camera, colours);
}

bool save_all(NorvikRobot& robot) {
  bool all = true;
  for (const SensorType camera : colour_cameras()) {
    all = save_colour(robot, camera) && all;
  }
  for (const SensorType camera : kDepthCameras) {
    all = save_depth(robot, camera) && all;
  }
  return all;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1) {
    folder = argv[1];
    std::filesystem::create_directories(folder);
  }
  std::set<SensorType> cameras = colour_cameras();
  cameras.insert(kDepthCameras.begin(), kDepthCameras.end());
  return examples::run(save_all, cameras);
}
