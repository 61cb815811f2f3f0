#pragma once

#include <memory>
#include <random>
#include <vector>

#include "norvik/perception_proto/perception.pb.h"
#include "perception/stereo_module.hpp"
#include "perception/stereo_view.hpp"
#include "things/thing.hpp"

namespace norvik::simulator {

// What a module tells of the scene as `camera` (optical frame on the map) sees it, without a header: first the cloud of
// everything, then of each thing that enough can be seen of its own cloud, its pose, and its number in the mask, the
// first one's being 1. `things` are those in the scene. All is relative to the camera.
std::shared_ptr<perception_proto::DetectionResult> detect(Scene& scene, const Pinhole& pinhole,
                                                          const KDL::Frame& camera, const std::vector<Thing>& things,
                                                          const StereoModule& module, std::mt19937& random);

}  // namespace norvik::simulator
