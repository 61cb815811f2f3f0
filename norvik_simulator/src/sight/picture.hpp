#pragma once

#include <cstdint>
#include <kdl/frames.hpp>
#include <opencv2/core.hpp>

#include "sight/scene.hpp"

namespace norvik::simulator {

// A camera without distortion. Pixel (0, 0) is the upper left one; the optical frame looks along z, x to the right.
struct Pinhole {
  int width;     // pixels
  int height;    // pixels
  double focal;  // pixels

  double centre_x() const { return (width - 1) / 2.0; }
  double centre_y() const { return (height - 1) / 2.0; }
};
inline constexpr double kHorizontalView = 1.4;  // rad, of every camera
Pinhole make_pinhole(int width, int height, double horizontal_view_rad);

enum class PixelKind {
  kColour,    // 8 bit blue, green, red
  kDepth,     // 16 bit millimetres along the optical axis; 0 where there is nothing, or too far away
  kInfrared,  // 8 bit: how much of the camera's own light comes back, from surfaces with a grain
};

// What a camera at `pose` (optical frame on the map) sees of the scene. In colour, edges are smoothed.
cv::Mat take_picture(Scene& scene, const Pinhole& camera, const KDL::Frame& pose, PixelKind kind);

// Puts the time into a colour picture: 64 squares along the upper edge hold its bits, the highest first, white for 1;
// each is width / 64 wide and max(4, height / 60) high. Text below says it in seconds.
void stamp_picture(cv::Mat& picture, int64_t timestamp_ns);

}  // namespace norvik::simulator
