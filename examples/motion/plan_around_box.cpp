// The same plan without and with a box in the way, and what the box changes: printed, and drawn as a picture with both
// paths of the hand. At last the robot goes around the box.
//
//   plan_around_box [FOLDER]   writes FOLDER/plan_around_box.png

#include <algorithm>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>

#include "motion_support.hpp"

using namespace norvik::sdk;

namespace {

using Points = std::vector<std::vector<double>>;

const std::vector<double> kStart = {0.2, -0.3, 0.0, -1.2, 0.0, 0.0, 0.0};  // radians; from low to high before the body
const std::vector<double> kGoal = {-1.0, -0.3, 0.0, -1.2, 0.0, 0.0, 0.0};
constexpr double kBoxSize = 0.12;  // metres

// Where the hand is along a path, in the base.
Points hand_path(NorvikMotion& motion, const Points& path) {
  constexpr size_t kShown = 24;
  Points poses;
  for (size_t i = 0; i <= kShown; ++i) {
    const auto& joints = path[i * (path.size() - 1) / kShown];
    poses.push_back(std::get<1>(
        motion.forward_kinematics("left_arm_end_effector_mount_link", "base_link", {{"left_arm", joints}})));
  }
  return poses;
}

double length(const Points& poses) {
  double sum = 0.0;
  for (size_t i = 1; i < poses.size(); ++i) {
    sum += examples::distance(poses[i - 1], poses[i]);
  }
  return sum;
}

// From the side, the robot looking to the right, and from above; 400 pixels are a metre.
class Picture {
 public:
  explicit Picture(const std::vector<double>& centre) : centre_(centre) {
    cv::putText(picture_, "side view (x, z)", {10, 24}, cv::FONT_HERSHEY_SIMPLEX, 0.6, {0, 0, 0});
    cv::putText(picture_, "top view (x, y)", {490, 24}, cv::FONT_HERSHEY_SIMPLEX, 0.6, {0, 0, 0});
  }

  void draw_box(double size) {
    const auto half = static_cast<int>(size / 2.0 * kScale);
    for (const int column : {1, 2}) {
      const cv::Point middle = place(centre_, column);
      cv::rectangle(picture_, middle - cv::Point(half, half), middle + cv::Point(half, half), {170, 170, 170}, -1);
    }
  }

  void draw_path(const Points& poses, const cv::Scalar& colour) {
    for (const int column : {1, 2}) {
      for (size_t i = 1; i < poses.size(); ++i) {
        cv::line(picture_, place(poses[i - 1], column), place(poses[i], column), colour, 2, cv::LINE_AA);
      }
    }
  }

  bool save(const std::string& path) const { return cv::imwrite(path, picture_); }

 private:
  static constexpr double kScale = 400.0;

  // Column 1 is the side view, column 2 the one from above.
  cv::Point place(const std::vector<double>& pose, int column) const {
    const size_t up = column == 1 ? 2 : 1;
    return {static_cast<int>(240 + (column - 1) * 480 + (pose[0] - centre_[0]) * kScale),
            static_cast<int>(270 - (pose[up] - centre_[up]) * kScale)};
  }

  const std::vector<double> centre_;
  cv::Mat picture_{540, 960, CV_8UC3, cv::Scalar(255, 255, 255)};
};

struct Plan {
  Points path;
  Points hand;
};

bool plan(NorvikMotion& motion, const std::string& title, Plan& plan) {
  const auto [status, path] =
      motion.motion_plan(examples::joint_target("left_arm", kGoal), examples::joint_target("left_arm", kStart));
  std::cout << title << ": " << status;
  if (status == MotionStatus::SUCCESS) {
    plan.path = path.at("left_arm");
    plan.hand = hand_path(motion, plan.path);
    std::cout << ", " << plan.path.size() << " points, the hand goes " << length(plan.hand) << " m";
  }
  std::cout << std::endl;
  return status == MotionStatus::SUCCESS;
}

bool go_around(NorvikRobot& robot, NorvikMotion& motion, const std::string& folder) {
  Plan direct;
  if (!examples::report("Go to the start",
                        [&] { return robot.set_joint_positions(kStart, examples::kLeftArm, {}, true, 1.0, 15.0); }) ||
      !plan(motion, "Without a box", direct)) {
    return false;
  }
  std::vector<double> box = direct.hand[direct.hand.size() / 2];
  box = {box[0], box[1], box[2], 0.0, 0.0, 0.0, 1.0};
  Plan around;
  const bool planned =
      examples::report_motion(
          "Put a box in the middle of the way",
          [&] {
            return motion.add_obstacle("box", "box", box, {kBoxSize, kBoxSize, kBoxSize}, "", "base_link");
          }) &&
      plan(motion, "With the box", around);
  if (!planned) {
    return false;
  }
  double nearest = INFINITY;
  for (const auto& pose : around.hand) {
    nearest = std::min(nearest, examples::distance(pose, box));
  }
  std::cout << "The hand keeps " << nearest << " m from the middle of the box." << std::endl;

  Picture picture(box);
  picture.draw_box(kBoxSize);
  picture.draw_path(direct.hand, {0, 0, 220});
  picture.draw_path(around.hand, {0, 160, 0});
  const std::string file = folder + "/plan_around_box.png";
  std::cout << (picture.save(file) ? "Drawn in " : "Cannot write ") << file << std::endl;

  const bool moved = examples::report_motion("Go around the box", [&] {
    return std::get<0>(
        motion.motion_plan(examples::joint_target("left_arm", kGoal), nullptr, nullptr, true, examples::at_once()));
  });
  return nearest > kBoxSize / 2.0 && moved && motion.clear_obstacle() == MotionStatus::SUCCESS &&
         examples::wait_until(
             [&] { return examples::is_near(robot.get_joint_positions(examples::kLeftArm), kGoal, 0.02); }, 2.0);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string folder = argc > 1 ? argv[1] : ".";
  return examples::run_with_planner(
      [&](NorvikRobot& robot, NorvikMotion& motion) { return go_around(robot, motion, folder); });
}
