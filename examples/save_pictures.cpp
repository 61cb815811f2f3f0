// Saves what each camera sees as a PNG file, depth in false colours with a scale beside it, into the folder given
// (default: the current one).

#include <algorithm>
#include <filesystem>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kPatience = 5.0;  // seconds
constexpr int kScaleWidth = 90;    // pixels
constexpr int kMarks = 5;          // numbers at the scale
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

// The nearest colour at the foot of the scale, the farthest at its top, with distances in metres.
cv::Mat make_scale(int height, double nearest_m, double farthest_m) {
  cv::Mat ramp(height, kScaleWidth, CV_8U), scale;
  for (int y = 0; y < height; ++y) {
    ramp.row(y) = 255 - 255 * y / (height - 1);
  }
  cv::applyColorMap(ramp, scale, cv::COLORMAP_TURBO);
  for (int i = 0; i < kMarks; ++i) {
    const double share = static_cast<double>(i) / (kMarks - 1);
    const std::string text = cv::format("%.2f m", nearest_m + share * (farthest_m - nearest_m));
    const cv::Point place(6, 20 + static_cast<int>((1.0 - share) * (height - 30)));
    cv::putText(scale, text, place, cv::FONT_HERSHEY_SIMPLEX, 0.5, cv::Scalar::all(0), 3, cv::LINE_AA);
    cv::putText(scale, text, place, cv::FONT_HERSHEY_SIMPLEX, 0.5, cv::Scalar::all(255), 1, cv::LINE_AA);
  }
  return scale;
}

// Pixels without depth are black; the colours are shared out over the distances that are in the picture.
cv::Mat draw_depth(const cv::Mat& depth, double units_per_metre) {
  const cv::Mat known = depth > 0;
  double nearest = 0.0, farthest = 0.0;
  cv::minMaxLoc(depth, &nearest, &farthest, nullptr, nullptr, known);
  const double range = std::max(farthest - nearest, 1.0);
  cv::Mat grey, colours, picture;
  depth.convertTo(grey, CV_8U, 255.0 / range, -255.0 * nearest / range);
  cv::applyColorMap(grey, colours, cv::COLORMAP_TURBO);
  colours.setTo(cv::Scalar::all(0), ~known);
  cv::hconcat(colours, make_scale(depth.rows, nearest / units_per_metre, farthest / units_per_metre), picture);
  return picture;
}

bool save_depth(NorvikRobot& robot, SensorType camera) {
  std::shared_ptr<DepthData> data;
  examples::wait_until([&] { return (data = robot.get_depth_data(camera)) != nullptr; }, kPatience);
  const auto depth = data ? data->convert_to_cv2_mat() : nullptr;  // Lives as long as `data`.
  return depth ? save(camera, draw_depth(*depth, std::max(data->depth_scale, 1U))) : missing(camera);
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
