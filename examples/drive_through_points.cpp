// Drives through waypoints with tolerances of their own, then along a trajectory as it is given.

#include "navigation_support.hpp"

using namespace norvik::sdk;

namespace {

std::vector<Waypoint> way_round_the_table() {
  std::vector<Waypoint> way;
  for (const Pose& pose :
       {examples::planar(0.8, 1.6, 0.5), examples::planar(2.2, 1.9), examples::planar(3.6, 1.4, -1.0)}) {
    Waypoint point;
    point.pose = pose;
    point.vel_scale = 0.8;
    way.push_back(point);
  }
  return way;
}

// A quarter of a circle to the left of `start`, seen from there.
std::vector<Pose> quarter_circle(double radius) {
  constexpr int kPoints = 15;
  std::vector<Pose> poses;
  for (int i = 1; i <= kPoints; ++i) {
    const double angle = M_PI / 2.0 * i / kPoints;
    poses.push_back(examples::planar(radius * std::sin(angle), radius * (1.0 - std::cos(angle)), angle));
  }
  return poses;
}

bool drive(NorvikNavigation& navigation) {
  const auto way = way_round_the_table();
  const TaskHandle through = navigation.navigate_through_waypoints(way);
  if (!examples::follow_task(navigation, through, 40.0) || !examples::is_at(navigation, way.back().pose)) {
    return false;
  }

  const Pose before = navigation.get_current_pose();
  const double radius = 0.4;  // The wall is near.
  const TaskHandle along = navigation.navigate_along_trajectory(quarter_circle(radius), "base_link", 0.5F);
  if (!examples::follow_task(navigation, along, 30.0)) {
    return false;
  }
  const double way_gone = examples::distance(before, navigation.get_current_pose());
  std::cout << "The trajectory ended " << way_gone << " m from its start." << std::endl;
  return std::abs(way_gone - radius * std::sqrt(2.0)) < 0.2;
}

}  // namespace

int main() { return examples::run_navigation(drive); }
