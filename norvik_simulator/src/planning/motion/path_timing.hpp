#pragma once

#include "planning/motion/joint_bounds.hpp"

namespace norvik::simulator::planning {

// Put points along the straight pieces between `corners` and give them times: from rest to rest, as fast as the speeds
// and accelerations of the joints allow. `least` in seconds: a faster motion is stretched to it. Corners stay points of
// the path; the motion slows down where it turns.
Path time_path(const std::vector<Joints>& corners, std::vector<std::string> chains,
               const std::vector<JointDynamics>& dynamics, double least);

}  // namespace norvik::simulator::planning
