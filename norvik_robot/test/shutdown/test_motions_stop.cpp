// What a blocking command does, and what the robot is told, when the program is told to stop. A shutdown is final, so
// every case runs in a process of its own.

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "../commands/fake_robot.hpp"
#include "common_provider.hpp"
#include "impl/wbc/common/command_wait.hpp"
#include "ovimux/ovimux.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using sdk::ControlStatus;
using sdk::JointCommand;
using std::chrono::steady_clock;

constexpr auto kWithin = 200ms;

struct Command {
  std::string name;  // as its records call it
  std::function<ControlStatus(FakeRobot&, bool blocking)> call;
  std::vector<std::string> stopped;  // groups
};

std::ostream& operator<<(std::ostream& stream, const Command& command) { return stream << command.name; }

sdk::Trajectory trajectory_of(const std::vector<std::string>& groups, size_t joints) {
  sdk::Trajectory trajectory;
  trajectory.joint_groups = groups;
  trajectory.points = {{30.0, std::vector<JointCommand>(joints)}};
  return trajectory;
}

std::vector<Command> commands() {
  return {
      {"set_joint_positions",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_joint_positions({0.1, 0.2}, {"head"}, {}, blocking, 0.5, 30.0);
       },
       {"head"}},
      {"execute_joint_trajectory",
       [](FakeRobot& robot, bool blocking) {
         return robot.execute_joint_trajectory(trajectory_of({"left_arm", "right_arm"}, 14), blocking);
       },
       {"left_arm", "right_arm"}},
      {"set_base_pose",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_base_pose(1, 2, 0, "odom", "odom", 30.0, blocking, 30.0);
       },
       {"chassis"}},
      {"zero_whole_body_and_base",
       [](FakeRobot& robot, bool blocking) {
         return robot.zero_whole_body_and_base(sdk::Pose{}, blocking, 0.2, 30.0, nullptr).second;
       },
       {"chassis"}},
      {"set_gripper_command",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_gripper_command("left_gripper", 0.05, 0.001, 50, blocking);
       },
       {"left_gripper"}},
      {"set_dexhand_command",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_dexhand_command("left_dexhand", std::vector<JointCommand>(6), sdk::DexHandType::INSPIRE,
                                          blocking);
       },
       {"left_dexhand"}},
      {"set_linker_l20_dexhand_command",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_dexhand_command("right_dexhand", std::vector<JointCommand>(16, {99.0, 0, 0, 0}),
                                          sdk::DexHandType::LINKER_L20, blocking);
       },
       {"right_dexhand"}},
  };
}

class MotionsStop : public ::testing::TestWithParam<Command> {
 protected:
  void SetUp() override {
    robot_.start_healthy();
    robot_.writer->on_publish = [this](const auto&) { sent_ = true; };
    robot_.target_client->reply = [this](const auto&) {
      sent_ = true;
      return make_error();
    };
  }

  void await_sending() const {
    while (!sent_) {
      std::this_thread::sleep_for(1ms);
    }
  }

  // Returns when everything that a shutdown does is done, which must not take longer than the limit for all of it.
  static void shut_down() {
    const auto start = steady_clock::now();
    ovimux::AsyncShutdown();
    ovimux::WaitForShutdown();
    EXPECT_LT(steady_clock::now() - start, 700ms);
  }

  // Groups that were told to stop, as often as they were.
  std::vector<std::string> stopped() const {
    std::vector<std::string> groups;
    for (const auto& call : robot_.controller_client->calls()) {
      for (const auto& [group, config] : call.request.ctrl_config_map()) {
        if (config.ctrl_option() == tavrinox_proto::CONTROLLER_OPTIONS_CONTROLER_STOP) {
          groups.push_back(group);
        }
      }
    }
    std::sort(groups.begin(), groups.end());
    return groups;
  }

  SdkLogCapture log_;
  FakeRobot robot_;
  std::atomic<bool> sent_{false};
};

TEST_P(MotionsStop, BlockingCallEndsAndItsGroupsAreStoppedOnce) {
  steady_clock::time_point asked;
  steady_clock::duration took{};
  std::thread caller([&] {
    EXPECT_EQ(GetParam().call(robot_, true), ControlStatus::TIMEOUT);
    took = steady_clock::now() - asked;
  });
  await_sending();
  asked = steady_clock::now();
  shut_down();
  caller.join();
  EXPECT_LT(took, kWithin);
  EXPECT_EQ(stopped(), GetParam().stopped);
  EXPECT_TRUE(log_.has("error", GetParam().name + " ended early, the program is told to stop"));
  for (const std::string& group : GetParam().stopped) {
    EXPECT_TRUE(log_.has("info", "stop " + group + " action success."));
  }
}

// Nothing that this process does not wait for is touched.
TEST_P(MotionsStop, OtherMotionsGoOn) {
  EXPECT_EQ(GetParam().call(robot_, false), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 0.0), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.stop_base(), ControlStatus::SUCCESS);
  const size_t targets = robot_.sent_targets().size();
  shut_down();
  EXPECT_EQ(stopped(), std::vector<std::string>{});
  EXPECT_EQ(robot_.sent_targets().size(), targets);
}

INSTANTIATE_TEST_SUITE_P(All, MotionsStop, ::testing::ValuesIn(commands()),
                         [](const auto& test) { return test.param.name; });

class OneMotion : public MotionsStop {
 protected:
  // Twists among the targets requested, which the library itself only requests in order to stop.
  int requested_twists() const {
    int count = 0;
    for (const auto& call : robot_.target_client->calls()) {
      const auto task = call.request.target_task_trajectory_map().find("chassis");
      if (task != call.request.target_task_trajectory_map().end() &&
          task->second.target_config().target_data() == tavrinox_proto::TARGET_DATA_FRAME_TWIST) {
        EXPECT_EQ(task->second.task_commands(0).subtask_commands(0).twist_msg().twist().linear().x(), 0.0);
        ++count;
      }
    }
    return count;
  }
};

TEST_F(OneMotion, BaseVelocityOfThisProcessIsStopped) {
  EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 0.0), ControlStatus::SUCCESS);
  robot_.writer->accepts = false;
  EXPECT_EQ(robot_.set_base_velocity({0, 0, 0}, {0, 0, 0}, 0.0), ControlStatus::PUBLISH_FAIL);
  shut_down();
  EXPECT_EQ(requested_twists(), 1);
  EXPECT_EQ(stopped(), std::vector<std::string>{});
}

TEST_F(OneMotion, TimedBaseVelocityEndsEarlyAndIsStoppedOnce) {
  std::thread caller([&] {
    EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 30.0), ControlStatus::TIMEOUT);
  });
  await_sending();
  shut_down();
  caller.join();
  EXPECT_EQ(requested_twists(), 1);
  EXPECT_TRUE(log_.has("error", "set_base_velocity ended early, the program is told to stop"));
}

TEST_F(OneMotion, BaseVelocityThatWasReplacedIsNotStopped) {
  EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 0.0), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.set_base_pose(1, 2, 0, "odom", "odom", 1.0, false, 1.0), ControlStatus::SUCCESS);
  shut_down();
  EXPECT_EQ(requested_twists(), 0);
}

TEST_F(OneMotion, DeadRobotDelaysNothing) {
  EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 0.0), ControlStatus::SUCCESS);
  std::thread caller([&] { commands()[1].call(robot_, true); });
  while (robot_.target_client->calls().empty()) {
    std::this_thread::sleep_for(1ms);
  }
  robot_.target_client->reply = [](const auto&) { return nullptr; };
  robot_.controller_client->reply = [](const auto&) { return nullptr; };
  shut_down();
  caller.join();
  EXPECT_EQ(stopped(), (std::vector<std::string>{"left_arm", "right_arm"}));
  EXPECT_TRUE(log_.has("error", "stop left_arm action timeout."));
  EXPECT_TRUE(log_.has("error", "stop base velocity action timeout."));
}

// A command that was on its way when the shutdown came must not arrive after its stop.
TEST_F(OneMotion, IsStoppedAfterItsCommandHasGoneOut) {
  std::atomic<bool> stop_seen{false};
  robot_.controller_client->reply = [&](const auto&) {
    stop_seen = true;
    return make_error();
  };
  robot_.target_client->reply = [&](const auto&) {
    sent_ = true;
    sdk::sleep_for_seconds(30.0);
    std::this_thread::sleep_for(50ms);  // As long as a request takes to notice a shutdown.
    EXPECT_FALSE(stop_seen);
    return nullptr;
  };
  std::thread caller([&] { EXPECT_EQ(commands()[0].call(robot_, true), ControlStatus::TIMEOUT); });
  await_sending();
  shut_down();
  caller.join();
  EXPECT_EQ(stopped(), std::vector<std::string>{"head"});
}

// The planner moves the arms while the call waits, also in its other form.
TEST_F(OneMotion, ArmsOnTheWayToTheZeroPostureAreStopped) {
  sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_ = [this](bool, double, double, const auto&) {
    sent_ = true;
    sdk::sleep_for_seconds(30.0);
    return sdk::MotionStatus::TIMEOUT;
  };
  std::thread caller([&] { robot_.zero_whole_body_and_base(sdk::Pose{}, false, 0.2, 30.0, nullptr); });
  await_sending();
  shut_down();
  caller.join();
  sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_ = nullptr;
  EXPECT_EQ(stopped(), (std::vector<std::string>{"left_arm", "right_arm"}));
}

TEST_F(OneMotion, OtherWaitsEndToo) {
  std::thread caller([&] {
    const auto start = steady_clock::now();
    EXPECT_TRUE(robot_.get_device_information());
    EXPECT_LT(steady_clock::now() - start, 1s);  // 2 s without a shutdown
  });
  shut_down();
  caller.join();
}

TEST_F(OneMotion, RefusedOrArrivedIsNotStopped) {
  robot_.target_client->reply = [this](const auto&) {
    robot_.report_arrived({"head"});
    return make_error();
  };
  EXPECT_EQ(commands()[0].call(robot_, true), ControlStatus::SUCCESS);
  robot_.target_client->reply = [](const auto&) { return make_error("left_gripper", kFatal); };
  EXPECT_EQ(commands()[4].call(robot_, true), ControlStatus::FAULT);
  shut_down();
  EXPECT_EQ(stopped(), std::vector<std::string>{});
}

}  // namespace
}  // namespace norvik::test
