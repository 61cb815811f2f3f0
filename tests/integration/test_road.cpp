// The whole road: a call moves the simulated robot, and its state comes back.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "live/live_robot.hpp"

namespace norvik::test {
namespace {

using Names = std::vector<std::string>;

class Road : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  LiveRobot live_{GetParam()};
  sdk::NorvikRobot& robot_ = live_.robot();
};

double distance(const std::vector<double>& a, const std::vector<double>& b) {
  double sum = a.size() == b.size() ? 0.0 : HUGE_VAL;
  for (size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
    sum += (a[i] - b[i]) * (a[i] - b[i]);
  }
  return std::sqrt(sum);
}

TEST_P(Road, AnArmMovesAndIsReadBack) {
  constexpr double kArrived = 0.015;  // final position error of an arm, rad
  const std::vector<double> wanted = {0.4, 0.3, -0.2, -0.5, 0.1, 0.2, -0.3};
  ASSERT_EQ(to_text(robot_.set_joint_positions(wanted, {"left_arm"}, {}, true, 1.0)), "SUCCESS");

  // Arrival and joint states come by different topics, so the state may be the older of the two for a moment.
  EXPECT_TRUE(eventually([&] { return distance(robot_.get_joint_positions({"left_arm"}), wanted) <= kArrived; }));
  const auto states = robot_.get_joint_states({"left_arm"});
  ASSERT_EQ(states.size(), wanted.size());
  std::vector<double> read;
  std::vector<double> real;
  const auto joints = live_.state()["joints"];
  for (size_t i = 0; i < states.size(); ++i) {
    EXPECT_EQ(states[i].name, "left_arm_joint" + std::to_string(i + 1));
    EXPECT_GT(states[i].timestamp_ns, 0);
    read.push_back(states[i].position);
    real.push_back(joints.at(states[i].name));
  }
  EXPECT_LE(distance(read, wanted), kArrived);
  EXPECT_LE(distance(real, wanted), kArrived);
  EXPECT_LE(distance(robot_.get_joint_positions({"right_arm"}), std::vector<double>(7, 0.0)), kArrived);

  EXPECT_TRUE(eventually([&] {
    const auto [transform, time_ns] = robot_.get_transform("base_link", "left_arm_end_effector_link");
    return time_ns > 0 && distance(transform, robot_.get_wbc_end_effector_poses().at("lee_pose")) <= 0.01;
  }));
}

TEST_P(Road, BaseAndGripperMove) {
  ASSERT_EQ(to_text(robot_.set_base_pose(0.2, 0.0, 0.1, "rel(0)", "odom", 0.4)), "SUCCESS");
  const auto speed = [this] { return robot_.get_odom()->linear_velocity[0]; };
  // At rest again before the next command: a velocity travels by topic and a stop by service, so the one would
  // overtake the other if the speed seen below were still that of this motion.
  EXPECT_TRUE(eventually([&] { return std::abs(robot_.get_odom()->position[0] - 0.2) < 0.01 && speed() == 0.0; }));
  ASSERT_EQ(to_text(robot_.set_base_velocity({0.3, 0, 0}, {0, 0, 0})), "SUCCESS");
  EXPECT_TRUE(eventually([&] { return speed() > 0.1; }));
  ASSERT_EQ(to_text(robot_.stop_base()), "SUCCESS");
  EXPECT_TRUE(eventually([&] { return speed() == 0.0; }));

  ASSERT_EQ(to_text(robot_.set_gripper_command("right_gripper", 0.02, 0.2)), "SUCCESS");
  EXPECT_NEAR(robot_.get_gripper_state("right_gripper")->width, 0.02, 0.005);  // the gripper's threshold
  EXPECT_NEAR(live_.state()["joints"]["right_gripper_joint1"], 20.0, 5.0);     // millimetres on the wire
}

class JointNames : public Road {};

// What an R5 calls its lift and its wheels depends on the hardware.
TEST_P(JointNames, AreThoseOfTheHardware) {
  struct Row {
    std::string setup, group, joint, foreign_joint, wheel;
  };
  const Row rows[] = {{"K2", "leg", "leg_joint1", "torso_lift_joint1", "chassis_joint1"},
                      {"R5", "torso", "torso_lift_joint1", "torso_base_joint", "wheel_steering_joint1"},
                      {"R5_1_0", "torso", "torso_base_joint", "torso_lift_joint1", "Wheel_1_direction_joint"}};
  const Row& row = *std::find_if(std::begin(rows), std::end(rows), [](auto& r) { return r.setup == GetParam().name; });
  const auto has = [](const Names& names, const std::string& name) {
    return std::find(names.begin(), names.end(), name) != names.end();
  };
  EXPECT_TRUE(has(robot_.get_joint_names(true, {row.group}), row.joint));
  EXPECT_TRUE(has(robot_.get_joint_names(false), row.wheel));
  EXPECT_FALSE(has(robot_.get_joint_names(true), row.wheel));
  EXPECT_EQ(to_text(robot_.set_joint_positions({0.1}, {}, {row.foreign_joint})), "INVALID_INPUT");
  if (row.group == "torso") {
    ASSERT_EQ(to_text(robot_.set_joint_positions({0.1}, {}, {row.joint}, true, 0.2)), "SUCCESS");
    EXPECT_NEAR(live_.state()["joints"][row.joint], 0.1, 0.03);
    EXPECT_TRUE(eventually([&] { return std::abs(robot_.get_joint_positions({}, {row.joint})[0] - 0.1) < 0.03; }));
  }
}

constexpr auto kName = [](const auto& test) { return test.param.name; };
INSTANTIATE_TEST_SUITE_P(All, Road, ::testing::Values(kK2, kR5), kName);
INSTANTIATE_TEST_SUITE_P(All, JointNames, ::testing::Values(kK2, kR5, kR5FirstRevision), kName);

}  // namespace
}  // namespace norvik::test
