// Follows a target that moves: each new one replaces the one before while the robot drives.

#include "navigation_support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kPeriod = 0.5;  // seconds between two targets
constexpr int kTargets = 8;

// Walks away from the robot, to the left.
Pose target_at(int index) { return examples::planar(0.3 + 0.05 * index, 0.2 * index, M_PI / 2.0); }

bool follow(NorvikNavigation& navigation) {
  TaskHandle handle;
  for (int i = 0; i < kTargets; ++i) {
    handle = navigation.set_navigation_target(target_at(i), "map", 0.8F);
    std::cout << "Target " << i << ": " << handle.message << ", the robot is "
              << examples::distance(navigation.get_current_pose(), target_at(i)) << " m away" << std::endl;
    if (handle.status != NaviTaskStatus::RUNNING) {
      return false;
    }
    examples::sleep_s(kPeriod);
  }
  return examples::follow_task(navigation, handle, 20.0) && examples::is_at(navigation, target_at(kTargets - 1));
}

}  // namespace

int main() { return examples::run_navigation(follow); }
