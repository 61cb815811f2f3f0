// A robot that was pushed no longer knows where it is: tells it, and drives on.

#include "navigation_support.hpp"

using namespace norvik::sdk;

namespace {

// Where somebody has pushed it from the start of the map, as one who stands there sees it.
constexpr double kPushedX = 0.5;
constexpr double kPushedY = 0.4;

bool find_place(NorvikNavigation& navigation) {
  if (!examples::wait_until([&] { return navigation.get_current_pose().qw != 0.0; }, 5.0)) {
    std::cout << "The robot does not tell where it believes to be." << std::endl;
    return false;
  }
  examples::sleep_s(0.5);  // A score, too.
  std::cout << "It believes to be at " << examples::text_of(navigation.get_current_pose()) << " and is "
            << (navigation.is_localized() ? "" : "not ") << "sure of it." << std::endl;
  if (navigation.is_localized()) {
    return false;
  }
  const Pose seen = examples::planar(kPushedX + 0.05, kPushedY - 0.05);  // Roughly.
  if (!examples::report_navigation("Relocalise", [&] { return navigation.relocalize(seen); }) ||
      !examples::wait_until([&] { return navigation.is_localized(); }, 5.0)) {
    std::cout << "It did not find itself." << std::endl;
    return false;
  }
  std::cout << "It has found itself at " << examples::text_of(navigation.get_current_pose()) << "." << std::endl;
  const Pose goal = examples::planar(0.0, 0.0);
  return examples::distance(navigation.get_current_pose(), examples::planar(kPushedX, kPushedY)) < 0.1 &&
         examples::report_navigation("Back to the start", [&] { return navigation.navigate_to_goal_v2(goal); }) &&
         examples::is_at(navigation, goal);
}

}  // namespace

int main() { return examples::run_navigation(find_place, false); }
