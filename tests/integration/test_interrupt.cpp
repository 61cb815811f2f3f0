// Ctrl-C while the robot moves: the program ends at once, and the robot stands still.

#include <gtest/gtest.h>

#include <cmath>
#include <csignal>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <tuple>

#include "live/live_robot.hpp"
#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using nlohmann::json;
using sdk::ControlStatus;

constexpr int kEndedAsTold = 7;

sdk::NorvikRobot& robot() { return sdk::NorvikRobot::get_instance(sdk::MachineType::K2); }

sdk::Trajectory long_trajectory() {
  sdk::Trajectory trajectory;
  trajectory.joint_names = {"left_arm_joint1"};
  trajectory.points = {{60.0, {{0.8, 0.0, 0.0, 0.0}}}};
  return trajectory;
}

// What the program is doing, each for a minute or for ever, and the joint, or the coordinate of the base, that moves.
struct Motion {
  std::function<ControlStatus()> command;
  const char* what;
};

const std::map<std::string, Motion>& motions() {
  static const std::map<std::string, Motion> all = {
      {"joints",
       {[] {
          return robot().set_joint_positions({1.0, 0.0}, {"head"}, {}, true, 0.02, 60.0);
        },
        "head_joint1"}},
      {"trajectory", {[] { return robot().execute_joint_trajectory(long_trajectory()); }, "left_arm_joint1"}},
      {"base", {[] { return robot().set_base_pose(6.0, 0.0, 0.0, "odom", "odom", 60.0, true, 15.0); }, "x"}},
      {"gripper",
       {[] { return robot().set_gripper_command("left_gripper", 0.09, 0.001, 50.0); }, "left_gripper_joint1"}},
      {"velocity",
       {[] {
          return robot().set_base_velocity({0.1, 0, 0}, {0, 0, 0}, 60.0);
        },
        "x"}},
      // Leaves the base driving and waits for something else.
      {"standing_velocity",
       {[] {
          robot().set_base_velocity({0.1, 0, 0}, {0, 0, 0});
          robot().wait_for_shutdown();
          return ControlStatus::TIMEOUT;
        },
        "x"}},
  };
  return all;
}

bool is_ready() {
  return eventually([] {
    return robot().set_joint_positions({0, 0}, {"head"}, {}, false, 0) == ControlStatus::INVALID_INPUT &&
           robot().get_gripper_state("left_gripper");
  });
}

int play(const std::string& role) {
  if (!robot().init() || !is_ready()) {
    return 1;
  }
  return motions().at(role).command() == ControlStatus::TIMEOUT && !robot().is_running() ? kEndedAsTold : 2;
}

// Where the simulated robot has the moving part.
double place_of(SimulatorControl& control, const std::string& what) {
  const json state = control.state();
  return what == "x" ? state["base"]["x"].get<double>() : state["joints"][what].get<double>();
}

// Whether it moves at all within a moment.
bool moves(SimulatorControl& control, const std::string& what) {
  const double before = place_of(control, what);
  std::this_thread::sleep_for(200ms);
  return std::abs(place_of(control, what) - before) > 1e-4;
}

using Interrupted = std::tuple<std::string, bool>;
class Interrupt : public ::testing::TestWithParam<Interrupted> {};

TEST_P(Interrupt, EndsTheProgramAndStopsTheRobot) {
  const auto& [role, alive] = GetParam();
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator;
  ASSERT_TRUE(simulator.start());
  SimulatorControl control;
  const std::string what = motions().at(role).what;
  SelfProcess process(role);
  ASSERT_TRUE(eventually([&] { return moves(control, what); }, 60s));
  if (!alive) {
    simulator.kill_hard();
  }
  const auto start = std::chrono::steady_clock::now();
  process.kill(SIGINT);
  EXPECT_EQ(process.wait_for_exit(5s), kEndedAsTold);
  EXPECT_LT(std::chrono::steady_clock::now() - start, 2s);  // 0.7 s, and the closing of DDS on a busy machine
  if (alive) {
    EXPECT_FALSE(moves(control, what));
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, Interrupt,
    ::testing::Combine(::testing::Values("joints", "trajectory", "base", "gripper", "velocity", "standing_velocity"),
                       ::testing::Bool()),
    [](const auto& test) { return std::get<0>(test.param) + (std::get<1>(test.param) ? "_alive" : "_dead"); });

TEST(InterruptOfOne, LeavesTheMotionsOfOtherApplicationsAlone) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  ASSERT_EQ(live.robot().execute_joint_trajectory(long_trajectory(), false), ControlStatus::SUCCESS);
  SimulatorControl control;
  SelfProcess process("joints");
  ASSERT_TRUE(eventually([&] { return moves(control, "head_joint1"); }, 60s));
  process.kill(SIGINT);
  EXPECT_EQ(process.wait_for_exit(5s), kEndedAsTold);
  EXPECT_FALSE(moves(control, "head_joint1"));
  EXPECT_TRUE(moves(control, "left_arm_joint1"));
}

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  if (const std::string role = norvik::test::role_of_this_process(); !role.empty()) {
    return norvik::test::play(role);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
