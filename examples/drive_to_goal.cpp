// Drives to a goal and waits for it, then to one behind a table while the program goes on and prints the progress.

#include "navigation_support.hpp"

using namespace norvik::sdk;

namespace {

bool drive(NorvikNavigation& navigation) {
  // Waits, with limits of its own, and sees when the service gives up.
  const Pose first = examples::planar(0.4, 1.4, 1.0);
  const bool arrived = examples::report_navigation("To the first goal", [&] {
    return navigation.navigate_to_goal_v2(first, {{0.8, 0.8, 1.0}});
  });
  // SUCCESS can also mean that another task took over; the position tells.
  if (!arrived || !examples::is_at(navigation, first)) {
    return false;
  }

  const Pose second = examples::planar(3.6, 1.6);
  std::cout << "Is there a way? " << (navigation.check_path_reachability(second, first) ? "yes" : "no") << std::endl;
  const bool accepted = examples::report_navigation(
      "To the second goal, in the background", [&] { return navigation.navigate_to_goal(second, true, false, 40.0F); });
  const auto prints_until_arrival = [&] {
    examples::sleep_s(0.3);
    std::cout << "  " << examples::distance(navigation.get_current_pose(), second) << " m to go" << std::endl;
    return navigation.check_goal_arrival();
  };
  return accepted && examples::wait_until(prints_until_arrival, 40.0) && examples::is_at(navigation, second);
}

}  // namespace

int main() { return examples::run_navigation(drive); }
