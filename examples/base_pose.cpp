// Moves the base to a pose in the odometry frame, then back a little relative to where it stands.

#include "support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kMoveTime = 2.0;    // seconds
constexpr double kTolerance = 0.02;  // metres and radians

struct PlanarPose {
  double x;
  double y;
  double yaw;
};

PlanarPose where_is(NorvikRobot& robot) {
  const auto odom = robot.get_odom();
  const auto& [qx, qy, qz, qw] = odom->orientation;
  return {odom->position[0], odom->position[1], std::atan2(2.0 * (qw * qz + qx * qy), 1.0 - 2.0 * (qy * qy + qz * qz))};
}

void print(const std::string& title, const PlanarPose& pose) {
  std::cout << title << ": x " << pose.x << " m, y " << pose.y << " m, yaw " << pose.yaw << " rad" << std::endl;
}

// A call that waits only lets the planned time pass; whether the base has arrived is for the odometry to tell.
bool arrives_at(NorvikRobot& robot, const PlanarPose& wanted) {
  const bool arrived = examples::wait_until(
      [&] {
        const PlanarPose pose = where_is(robot);
        return std::hypot(pose.x - wanted.x, pose.y - wanted.y) <= kTolerance &&
               std::abs(std::remainder(pose.yaw - wanted.yaw, 2.0 * M_PI)) <= kTolerance;
      },
      3.0);
  print(arrived ? "  arrived at" : "  did not arrive, is at", where_is(robot));
  return arrived;
}

bool move_base(NorvikRobot& robot) {
  const PlanarPose start = where_is(robot);
  print("Start", start);

  const PlanarPose goal = {start.x + 0.5, start.y + 0.2, start.yaw + 0.4};
  const bool there = examples::report("To a pose in \"odom\"", [&] {
    return robot.set_base_pose(goal.x, goal.y, goal.yaw, "odom", "odom", kMoveTime);
  });
  if (!there || !arrives_at(robot, goal)) {
    return false;
  }

  const double back = -0.3;  // metres, along the direction in which the base now looks
  const bool moved = examples::report("Backwards, relative",
                                      [&] { return robot.set_base_pose(back, 0.0, 0.0, "rel(0)", "odom", kMoveTime); });
  const PlanarPose end = {goal.x + back * std::cos(goal.yaw), goal.y + back * std::sin(goal.yaw), goal.yaw};
  return moved && arrives_at(robot, end);
}

}  // namespace

int main() { return examples::run(move_base); }
