// Changes the limits of the navigation, shows its settings, and drives with a velocity for a time.

#include "navigation_support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kSpeed = 0.25;      // m/s
constexpr double kDuration = 2.0;    // seconds
constexpr double kTolerance = 0.25;  // share of the way: the base speeds up, brakes, and hears commands late

bool configure(NorvikNavigation& navigation) {
  return examples::report_navigation(
             "Limits",
             [&] {
               return navigation.set_navigation_kinematics_limits({0.6, 0.6, 0.8}, {1.0, 1.0, 1.5}, {10.0, 10.0, 15.0});
             }) &&
         examples::report_navigation("Time-out", [&] { return navigation.set_navigation_timeout(30.0); }) &&
         examples::report_navigation("Threshold",
                                     [&] {
                                       return navigation.set_navigation_arrival_threshold({0.05, 0.05, 0.05});
                                     }) &&
         // The settings go into the library's log.
         examples::report_navigation("Settings", [&] { return navigation.dump_navigation_configs(); });
}

bool drive(NorvikNavigation& navigation) {
  const bool refused = !examples::report_navigation("A limit beyond the bounds", [&] {
    return navigation.set_navigation_velocity_limit({2.0, 0.5, 0.5});
  });
  if (!refused || !configure(navigation)) {
    return false;
  }
  const Pose before = navigation.get_current_pose();
  if (!examples::report_navigation("Sideways",
                                   [&] { return navigation.navigate_with_velocity(0.0, kSpeed, 0.0, kDuration); })) {
    return false;
  }
  examples::sleep_s(kDuration + 1.0);  // The service ends the motion by itself.
  const double way = examples::distance(before, navigation.get_current_pose());
  const double wanted = kSpeed * kDuration;
  std::cout << "The base went " << way << " m, wanted were " << wanted << " m." << std::endl;
  return std::abs(way - wanted) <= kTolerance * wanted;
}

}  // namespace

int main() { return examples::run_navigation(drive); }
