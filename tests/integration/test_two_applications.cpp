// Two applications on one robot: each gets its own answers, and the later target counts.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdlib>
#include <thread>

#include "live/live_robot.hpp"
#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using sdk::NorvikRobot;

// The simulator's refusal quotes the joint that it does not know: nobody else's answer can be taken for this one.
bool gets_own_answers(NorvikRobot& robot, const std::string& joint, int count) {
  sdk::TavrinoXTarget target;
  auto& arm = target.target_group_trajectory_map["right_arm"];
  arm.target_config = {255, 14, 0, 1, "", {}};
  for (int i = 0; i < count; ++i) {
    const std::string name = joint + std::to_string(i);
    arm.joint_names = {name};
    arm.group_commands = {{0.1, {{}}}};
    const auto report = robot.RequestTarget(target);
    if (!report || report->errors.size() != 1 || report->errors[0].description != "right_arm has no joint " + name) {
      return false;
    }
  }
  return true;
}

constexpr int kAnswers = 300;

// What the second application does; 0 when all went well.
int play_second() {
  NorvikRobot& robot = NorvikRobot::get_instance(sdk::MachineType::K2);
  if (!robot.init()) return 2;
  const auto commands = [&] { return robot.set_joint_positions({0.0, 0.0}, {"leg"}, {}, false, 0.0); };
  if (!eventually([&] { return robot.get_joint_states({"head"}).size() == 2 && robot.get_odom(); })) return 3;
  if (!eventually([&] { return commands() == sdk::ControlStatus::INVALID_INPUT; })) return 4;
  if (!gets_own_answers(robot, "second", kAnswers)) return 5;
  const auto status = robot.set_joint_positions({-0.4, 0.0}, {"head"}, {}, true, 1.0, 10.0);
  return status == sdk::ControlStatus::SUCCESS ? 0 : 6;
}

TEST(TwoApplications, GetTheirOwnAnswersAndTheLaterTargetCounts) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  NorvikRobot& robot = live.robot();
  // Would take 30 s.
  ASSERT_EQ(to_text(robot.set_joint_positions({1.5, 0.0}, {"head"}, {}, false, 0.05)), "SUCCESS");

  SelfProcess second("second");
  EXPECT_TRUE(gets_own_answers(robot, "first", kAnswers));
  std::optional<int> status;
  do {  // Until the other one is done, and so surely at the same time.
    EXPECT_TRUE(gets_own_answers(robot, "first", 20));
    status = second.wait_for_exit(0s);
  } while (!status && !::testing::Test::HasFailure());
  EXPECT_EQ(status, 0);

  EXPECT_NEAR(live.state()["joints"]["head_joint1"], -0.4, 0.02);
  EXPECT_TRUE(eventually([&] { return std::abs(robot.get_joint_positions({"head"})[0] + 0.4) < 0.02; }));
  EXPECT_EQ(robot.check_trajectory_execution_status({"head"})[0], sdk::TrajectoryControlStatus::TRAJECTORY_COMPLETED);
}

using Job = std::function<std::string(NorvikRobot&, int)>;

// Some read, some command; every answer has to be a success.
TEST(ManyThreads, GetEveryAnswer) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  const auto reads = [](NorvikRobot& robot) {
    return robot.get_joint_states().empty() || !robot.get_odom() || robot.get_joint_names().empty() ||
           robot.get_wbc_end_effector_poses().size() != 3 || robot.get_joint_positions({"right_arm"}).size() != 7;
  };
  const Job jobs[] = {
      [&](NorvikRobot& robot, int i) {
        const double pan = 0.3 * std::sin(0.01 * i);
        return reads(robot) ? "nothing read" : to_text(robot.set_joint_commands({{pan}, {0.0}}, {"head"}, {}, 0.01));
      },
      [](NorvikRobot& robot, int i) {
        sdk::Trajectory swing;
        swing.joint_groups = {"left_arm"};
        swing.points = {{0.1, std::vector<sdk::JointCommand>(7, {0.1 * (i % 3)})}};
        return to_text(i % 2 ? robot.execute_joint_trajectory(swing, false) : robot.set_joint_commands_batch(swing));
      },
      [](NorvikRobot& robot, int i) {
        const double position = 0.1 * (i % 3);
        return to_text(i % 5
                           ? robot.set_joint_positions(std::vector<double>(7, position), {"right_arm"}, {}, false, 1.0)
                           : robot.set_suction_cup_command("left_suction_cup", i % 2));
      },
      [](NorvikRobot& robot, int i) {
        switch (i % 4) {
          case 0:
            return to_text(robot.set_base_velocity({0.1, 0, 0}, {0, 0, 0.1}));
          case 1:
            return to_text(robot.stop_base());
          case 2:
            return to_text(robot.set_base_pose(0.1, 0.0, 0.0, "odom", "odom", 0.2, false));
          default:
            return to_text(robot.reload_controller("leg"));
        }
      },
  };
  const char* long_tests = std::getenv("NORVIK_LONG_TESTS");
  const auto end = std::chrono::steady_clock::now() + (long_tests && std::string(long_tests) == "1" ? 60s : 4s);
  std::vector<std::thread> threads;
  std::atomic<int> total{0};
  for (const Job& job : jobs) {
    threads.emplace_back([&] {
      int i = 0;
      std::string answer = "SUCCESS";
      for (; answer == "SUCCESS" && std::chrono::steady_clock::now() < end; ++i) {
        answer = job(live.robot(), i);
      }
      EXPECT_EQ(answer, "SUCCESS") << "job " << &job - jobs << ", turn " << i;
      EXPECT_GT(i, 10);
      total += i;
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  RecordProperty("calls", total);
}

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  if (norvik::test::role_of_this_process() == "second") {
    return norvik::test::play_second();
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
