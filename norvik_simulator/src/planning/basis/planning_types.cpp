#include "planning/basis/planning_types.hpp"

#include <cmath>

namespace norvik::simulator::planning {

Outcome check_pose(const KDL::Frame& pose) {
  double sum = 0.0;
  for (int i = 0; i < 3; ++i) {
    sum += pose.p(i) + pose.M(i, 0) + pose.M(i, 1) + pose.M(i, 2);
  }
  return std::isfinite(sum) ? Outcome{} : Outcome{Reason::kInvalidInput, "a pose is not made of numbers"};
}

}  // namespace norvik::simulator::planning
