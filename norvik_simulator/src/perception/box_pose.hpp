#pragma once

#include <kdl/frames.hpp>

#include "things/thing.hpp"

namespace norvik::simulator {

// The pose that an estimator tells for a thing seen from `camera` (on the map): relative to the camera. It knows a box
// by its shape alone: x lies along the longest edge and z along the shortest, both towards the camera. So a box has
// another frame than its own, and may have yet another one when it is seen from elsewhere.
KDL::Frame estimated_pose(const Thing& thing, const KDL::Frame& camera);

}  // namespace norvik::simulator
