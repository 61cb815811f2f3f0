// Sends a trajectory of three points for both arms without waiting, and follows it until both arms have completed it.

#include <algorithm>

#include "support.hpp"

using namespace norvik::sdk;

namespace {

const std::vector<std::string> kArms = {groups::kLeftArm, groups::kRightArm};
constexpr double kTolerance = 0.02;  // radians

// Seven joints of the left arm, radians; the right arm mirrors them.
std::vector<double> both_arms(double swing, double lift, double elbow) {
  return {swing, -lift, 0.0, elbow, 0.0, 0.0, 0.0, -swing, lift, 0.0, -elbow, 0.0, 0.0, 0.0};
}

TrajectoryPoint point_at(double time_from_start_s, const std::vector<double>& positions) {
  TrajectoryPoint point;
  point.time_from_start = time_from_start_s;
  for (const double position : positions) {
    point.joint_command_vec.push_back({position});
  }
  return point;
}

bool follow_trajectory(NorvikRobot& robot) {
  const std::vector<double> last = both_arms(0.1, 0.2, -0.6);
  Trajectory trajectory;
  trajectory.joint_groups = kArms;
  trajectory.points = {point_at(1.0, both_arms(0.3, 0.3, -0.3)), point_at(2.0, both_arms(-0.2, 0.5, -0.9)),
                       point_at(3.0, last)};
  if (!examples::report("Trajectory sent", [&] { return robot.execute_joint_trajectory(trajectory, false); })) {
    return false;
  }

  // The robot's state streams: the first status may still be the one before the trajectory.
  const auto every_arm_is = [&](TrajectoryControlStatus wanted) {
    const auto statuses = robot.check_trajectory_execution_status(kArms);
    return std::count(statuses.begin(), statuses.end(), wanted) == static_cast<std::ptrdiff_t>(kArms.size());
  };
  const bool ran = examples::wait_until([&] { return every_arm_is(TrajectoryControlStatus::TRAJECTORY_RUNNING); }, 2.0);
  std::cout << (ran ? "Both arms are moving." : "The arms do not move.") << std::endl;
  const bool completed =
      examples::wait_until([&] { return every_arm_is(TrajectoryControlStatus::TRAJECTORY_COMPLETED); }, 10.0);
  std::cout << (completed ? "Both arms completed the trajectory." : "The trajectory was not completed.") << std::endl;

  const bool arrived =
      examples::wait_until([&] { return examples::is_near(robot.get_joint_positions(kArms), last, kTolerance); }, 1.0);
  std::cout << (arrived ? "Both arms are at the last point." : "The arms are not at the last point.") << std::endl;
  return ran && completed && arrived;
}

}  // namespace

int main() { return examples::run(follow_trajectory); }
