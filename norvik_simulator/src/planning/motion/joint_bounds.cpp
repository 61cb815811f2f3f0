#include "planning/motion/joint_bounds.hpp"

#include <algorithm>
#include <cmath>

namespace norvik::simulator::planning {

namespace {

// Both directions count alike: the narrower one is the limit.
double narrowed(double limit, const Bounds& bounds, size_t joint, size_t joints) {
  if (bounds.lower.size() != joints || bounds.upper.size() != joints) {
    return limit;
  }
  const double narrower = std::min(std::abs(bounds.lower[joint]), std::abs(bounds.upper[joint]));
  return narrower > 0.0 ? std::min(limit, narrower) : limit;
}

}  // namespace

Bounds joint_bounds(const PlanningModel& model, const std::map<std::string, Bounds>& narrower,
                    const std::vector<size_t>& indices) {
  Bounds result;
  for (const size_t index : indices) {
    result.lower.push_back(model.joint(index).lower);
    result.upper.push_back(model.joint(index).upper);
    for (const auto& [name, bounds] : narrower) {
      const Chain* chain = model.find_chain(name);
      const size_t joints = chain == nullptr ? 0 : chain->joints.size();
      if (joints == 0 || index < chain->indices.front() || index > chain->indices.back() ||
          bounds.lower.size() != joints || bounds.upper.size() != joints) {
        continue;
      }
      const size_t joint = index - chain->indices.front();
      result.lower.back() = std::clamp(bounds.lower[joint], result.lower.back(), result.upper.back());
      result.upper.back() = std::clamp(bounds.upper[joint], result.lower.back(), result.upper.back());
    }
  }
  return result;
}

std::vector<JointDynamics> joint_dynamics(const PlanningModel& model, const Settings& settings) {
  std::vector<JointDynamics> result;
  for (const Chain& chain : model.chains()) {
    const auto set = settings.dynamics.find(chain.name);
    const DynamicBounds bounds = set == settings.dynamics.end() ? DynamicBounds{} : set->second;
    for (size_t i = 0; i < chain.joints.size(); ++i) {
      result.push_back({narrowed(chain.joints[i].speed, bounds.velocity, i, chain.joints.size()),
                        narrowed(chain.joints[i].acceleration, bounds.acceleration, i, chain.joints.size())});
    }
  }
  return result;
}

}  // namespace norvik::simulator::planning
