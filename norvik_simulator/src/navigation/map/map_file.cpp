#include "navigation/map/map_file.hpp"

#include <yaml-cpp/yaml.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

namespace norvik::simulator {

namespace {

constexpr int kMostPixels = 4000;  // Along a side.
constexpr double kFreePixel = 254.0;
constexpr double kCoveredPixel = 0.0;

struct MapText {
  std::string image;
  double resolution = 0.0;
  Point lower;
  bool negate = false;
  double free_threshold = 0.0;
};

std::string read_text(const YAML::Node& yaml, MapText& text) {
  text.image = yaml["image"].as<std::string>();
  text.resolution = yaml["resolution"].as<double>();
  text.lower = {yaml["origin"][0].as<double>(), yaml["origin"][1].as<double>()};
  text.negate = yaml["negate"].as<int>(0) != 0;
  text.free_threshold = yaml["free_thresh"].as<double>();
  if (!(text.resolution >= 0.001 && text.resolution <= 10.0)) {
    return "resolution is not within 0.001 and 10 metres";
  }
  if (!(std::abs(text.lower.x) < 1e6 && std::abs(text.lower.y) < 1e6)) {
    return "origin is not finite, or too far away";
  }
  if (yaml["origin"].size() > 2 && yaml["origin"][2].as<double>() != 0.0) {
    return "a map that is turned (yaw of origin) is not read";
  }
  return yaml["mode"].as<std::string>("trinary") == "trinary" ? "" : "mode is not trinary";
}

// The upper row of the picture is that of the largest y.
OccupancyGrid make_grid(const cv::Mat& picture, const MapText& text) {
  OccupancyGrid grid(text.lower, text.resolution, picture.cols, picture.rows);
  for (int y = 0; y < picture.rows; ++y) {
    for (int x = 0; x < picture.cols; ++x) {
      const double bright = picture.at<uint8_t>(picture.rows - 1 - y, x) / 255.0;
      if ((text.negate ? bright : 1.0 - bright) > text.free_threshold) {
        grid.mark(cv::Point(x, y));
      }
    }
  }
  return grid;
}

}  // namespace

std::optional<OccupancyGrid> load_map(const std::string& yaml_path, std::string& error) {
  MapText text;
  try {
    error = read_text(YAML::LoadFile(yaml_path), text);
  } catch (const YAML::Exception& exception) {
    error = exception.what();
  }
  cv::Mat picture;
  if (error.empty()) {
    const auto image = std::filesystem::path(yaml_path).parent_path() / text.image;
    try {
      picture = cv::imread(image.string(), cv::IMREAD_GRAYSCALE);
    } catch (const cv::Exception&) {  // A header that promises too much.
      picture.release();
    }
    if (picture.empty() || picture.cols > kMostPixels || picture.rows > kMostPixels) {
      error = image.string() + " is no picture of at most 4000 by 4000 pixels";
    }
  }
  if (!error.empty()) {
    error = yaml_path + ": " + error;
    return std::nullopt;
  }
  return make_grid(picture, text);
}

bool save_map(const OccupancyGrid& map, const std::string& yaml_path) {
  const std::filesystem::path image = std::filesystem::path(yaml_path).replace_extension(".pgm");
  cv::Mat picture(map.rows(), map.columns(), CV_8U, cv::Scalar(kFreePixel));
  picture.setTo(kCoveredPixel, map.cells());
  cv::flip(picture, picture, 0);
  YAML::Emitter yaml;
  yaml << YAML::BeginMap;
  yaml << YAML::Key << "image" << YAML::Value << image.filename().string();
  yaml << YAML::Key << "mode" << YAML::Value << "trinary";
  yaml << YAML::Key << "resolution" << YAML::Value << map.resolution();
  yaml << YAML::Key << "origin" << YAML::Value << YAML::Flow << std::vector{map.lower().x, map.lower().y, 0.0};
  yaml << YAML::Key << "negate" << YAML::Value << 0;
  yaml << YAML::Key << "occupied_thresh" << YAML::Value << 0.65;
  yaml << YAML::Key << "free_thresh" << YAML::Value << 0.25;
  yaml << YAML::EndMap;
  std::ofstream file(yaml_path);
  file << yaml.c_str() << '\n';
  return file.good() && cv::imwrite(image.string(), picture);
}

}  // namespace norvik::simulator
