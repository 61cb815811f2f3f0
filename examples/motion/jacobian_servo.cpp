// A velocity servo: keeps the left hand moving upwards at 4 cm/s. The Jacobian of the planner turns the velocity of the
// hand into those of the joints, fifty times a second, and set-points take them to the arm.

#include <algorithm>
#include <opencv2/core.hpp>

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

constexpr double kPeriod = 0.02;   // seconds
constexpr double kSpeed = 0.04;    // metres per second, upwards
constexpr int kSteps = 100;        // two seconds, 8 cm
constexpr double kDamping = 1e-3;  // Keeps joint velocities small where the arm can hardly move that way.

cv::Mat joint_velocities(const std::vector<std::vector<double>>& rows, const cv::Mat& twist) {
  cv::Mat jacobian(static_cast<int>(rows.size()), static_cast<int>(rows[0].size()), CV_64F);
  for (int i = 0; i < jacobian.rows; ++i) {
    std::copy(rows[static_cast<size_t>(i)].begin(), rows[static_cast<size_t>(i)].end(), jacobian.ptr<double>(i));
  }
  cv::Mat solution;
  cv::solve(jacobian * jacobian.t() + kDamping * cv::Mat::eye(6, 6, CV_64F), twist, solution, cv::DECOMP_CHOLESKY);
  return jacobian.t() * solution;
}

bool servo(NorvikRobot& robot, NorvikMotion& motion) {
  const std::vector<double> start = examples::end_effector_pose(motion, "left_arm");
  const cv::Mat twist = (cv::Mat_<double>(6, 1) << 0.0, 0.0, kSpeed, 0.0, 0.0, 0.0);
  std::vector<double> joints = robot.get_joint_positions(examples::kLeftArm);
  auto due = std::chrono::steady_clock::now();
  for (int step = 0; step < kSteps; ++step) {
    const auto [status, jacobian] = motion.get_jacobian("left_arm", "EndEffector", "base_link", {{"left_arm", joints}});
    if (status != MotionStatus::SUCCESS) {
      std::cout << "Jacobian: " << status << std::endl;
      return false;
    }
    const cv::Mat velocities = joint_velocities(jacobian, twist);
    std::vector<JointCommand> set_point(joints.size());
    for (size_t i = 0; i < joints.size(); ++i) {
      joints[i] += kPeriod * velocities.at<double>(static_cast<int>(i));
      set_point[i].position = joints[i];
    }
    if (robot.set_joint_commands(set_point, examples::kLeftArm, {}, kPeriod) != ControlStatus::SUCCESS) {
      return false;
    }
    std::this_thread::sleep_until(due += std::chrono::milliseconds(20));
  }
  std::vector<double> goal = start;
  goal[2] += kSpeed * kPeriod * kSteps;
  const bool arrived = examples::wait_until(
      [&] { return examples::distance(examples::end_effector_pose(motion, "left_arm"), goal) < 0.01; }, 2.0);
  std::cout << "The hand went from " << start[2] << " to " << examples::end_effector_pose(motion, "left_arm")[2]
            << " m above the base." << std::endl;
  return arrived;
}

}  // namespace

int main() { return examples::run_with_planner(servo); }
