#pragma once

#include <cstdint>
#include <random>
#include <vector>
#include <kdl/frames.hpp>
#include <opencv2/core.hpp>

#include "sight/picture.hpp"

namespace norvik::simulator {

// What one look through the stereo camera gives.
struct StereoView {
  std::vector<cv::Point3f> points;  // in the frame of the camera, metres
  std::vector<uint8_t> numbers;     // of each point: the thing that it lies on, counted from 1; 0 for none
  cv::Mat mask;                     // 8 bit, as large as the picture: the same for each pixel
};

// Looks from `camera` (optical frame on the map) at every `step`-th pixel. Depths scatter by `noise` at one metre, and
// beyond it by its square.
StereoView look(Scene& scene, const Pinhole& pinhole, const KDL::Frame& camera, int step, double noise,
                std::mt19937& random);

}  // namespace norvik::simulator
