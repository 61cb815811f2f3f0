#pragma once

#include <vector>
#include <kdl/frames.hpp>

#include "sight/scene.hpp"

namespace norvik::simulator {

// As the wire has it: metres in the sensor's frame, intensity 0 to 100.
struct ScanPoint {
  float x, y, z, intensity;
};

// One turn of a lidar with 16 rings of 900 rays each, from 15 degrees below the sensor's plane to 15 above. What lies
// farther than 30 m gives no point.
std::vector<ScanPoint> scan_scene(Scene& scene, const KDL::Frame& sensor);

}  // namespace norvik::simulator
