// What the joint operations send, and how each of them waits.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <future>
#include <string>
#include <vector>

#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;
using sdk::JointCommand;
using sdk::TrajectoryControlStatus;

class JointCommands : public ::testing::Test {
 protected:
  void SetUp() override { robot_.start_healthy(); }

  tavrinox_proto::TargetGroupTrajectory sent(const std::string& group) const {
    const auto targets = robot_.sent_targets();
    if (targets.empty() || targets.back().target_group_trajectory_map().count(group) == 0) {
      ADD_FAILURE() << "nothing sent for " << group;
      return {};
    }
    return targets.back().target_group_trajectory_map().at(group);
  }

  static sdk::Trajectory two_groups(double last_time) {
    sdk::Trajectory trajectory;
    trajectory.joint_names = {"head_joint1", "left_gripper_joint1"};
    trajectory.points = {{0.0, {{0.1, 0, 0, 0}, {0.05, 0, 0, 0}}}, {last_time, {{0.2, 0, 0, 0}, {0.04, 0, 0, 40}}}};
    return trajectory;
  }

  SdkLogCapture log_;
  FakeRobot robot_;
};

TEST_F(JointCommands, SetPointsOverrideInOneMessageAndInInternalUnits) {
  ASSERT_EQ(
      robot_.set_joint_commands({{0.05, 0.1, 0, 30}, {1.5, 0, 0, 0}}, {}, {"left_gripper_joint1", "head_joint2"}, 0.25),
      ControlStatus::SUCCESS);
  ASSERT_EQ(robot_.sent_targets().size(), 1U);
  const auto gripper = sent("left_gripper");
  EXPECT_EQ(gripper.target_config().target_type(), 10);
  EXPECT_DOUBLE_EQ(gripper.group_commands(0).joint_commands(0).position(), 50.0);
  const auto head = sent("head");
  EXPECT_EQ(head.target_config().target_type(), 10);
  EXPECT_EQ(head.joint_names(0), "head_joint2");
  EXPECT_DOUBLE_EQ(head.group_commands(0).joint_commands(0).position(), 1.5);
  EXPECT_EQ(head.group_commands(0).time_from_start().nanosec(), 250'000'000);
}

TEST_F(JointCommands, SetPointsCheckTheTimeFirst) {
  for (const double time : {-0.1, std::nan(""), HUGE_VAL}) {
    log_.clear();
    EXPECT_EQ(robot_.set_joint_commands({}, {}, {}, time), ControlStatus::INVALID_INPUT);
    const auto texts = log_.texts("error");
    ASSERT_EQ(texts.size(), 1U);
    EXPECT_EQ(texts[0].rfind("set_joint_commands invalid time_from_start_s: ", 0), 0U);
  }
  EXPECT_EQ(robot_.set_joint_commands({{}}, {"head"}, {}, 0.0), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "set_joint_commands invalid input"));
  EXPECT_EQ(robot_.set_joint_commands({{}}, {"left_gripper"}, {}, 0.0), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "effort out of range, expect effort in (0,100], got effort=0"));
  EXPECT_TRUE(robot_.sent_targets().empty());
}

TEST_F(JointCommands, PositionsTakeTheTimeOfTheFarthestJointAndKeepUnits) {
  ASSERT_EQ(robot_.set_joint_positions({0.5, 1.0, 0.05}, {"head", "left_gripper"}, {}, false, 0.5, 2.5),
            ControlStatus::SUCCESS);
  const auto head = sent("head");
  EXPECT_EQ(head.target_config().target_type(), 14);
  EXPECT_DOUBLE_EQ(head.group_commands(0).time_from_start().sec(), 2.0);
  const auto gripper = sent("left_gripper");
  EXPECT_EQ(gripper.target_config().target_type(), 10);
  EXPECT_DOUBLE_EQ(gripper.group_commands(0).joint_commands(0).position(), 0.05);
  EXPECT_EQ(robot_.target_client->calls()[0].timeout, std::chrono::seconds(3));
}

TEST_F(JointCommands, PositionsCheckTheSpeedAfterTheFault) {
  EXPECT_EQ(robot_.set_joint_positions({0, 0}, {"head"}, {}, false, 0.0, 1.0), ControlStatus::INVALID_INPUT);
  robot_.report_error("head", kFatal);
  EXPECT_EQ(robot_.set_joint_positions({0, 0}, {"head"}, {}, false, 0.0, 1.0), ControlStatus::FAULT);
  EXPECT_EQ(robot_.set_joint_positions({0, NAN}, {"head"}, {}, false, 0.0, 1.0), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "joint_position_vec[1] (head_joint2) is not finite: nan"));
}

TEST_F(JointCommands, PositionsStopTheirGroupsAtTheTimeout) {
  const auto start = std::chrono::steady_clock::now();
  robot_.controller_client->reply = [](const auto& request) {
    return request.ctrl_config_map().count("leg") ? make_error() : nullptr;
  };
  EXPECT_EQ(robot_.set_joint_positions(std::vector<double>(7, 0.1), {"head", "leg"}, {}, true, 0.5, 0.15),
            ControlStatus::TIMEOUT);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  EXPECT_TRUE(log_.has("error", "set_joint_positions timeout"));
  EXPECT_TRUE(log_.has("info", "stop leg action success."));
  EXPECT_TRUE(log_.has("error", "stop head action timeout."));
  const auto calls = robot_.controller_client->calls();
  ASSERT_EQ(calls.size(), 2U);
  for (const auto& call : calls) {
    EXPECT_EQ(call.request.ctrl_config_map().begin()->second.ctrl_option(), 6);
    EXPECT_EQ(call.timeout, std::chrono::seconds(1));
  }
}

TEST_F(JointCommands, PositionsEndWhenTheFirstGroupOfTheWalkHasArrived) {
  const auto move_with_arrived = [this](const std::string& group) {
    robot_.report_arrived({group});
    return robot_.set_joint_positions(std::vector<double>(7, 0.1), {"head", "leg"}, {}, true, 0.5, 0.15);
  };
  // The order of the walk is the map's own. Whichever group is first: it alone ends the wait, the other alone does not.
  const ControlStatus head = move_with_arrived("head");
  const ControlStatus leg = move_with_arrived("leg");
  EXPECT_TRUE((head == ControlStatus::SUCCESS) != (leg == ControlStatus::SUCCESS));
  EXPECT_TRUE((head == ControlStatus::TIMEOUT) != (leg == ControlStatus::TIMEOUT));
}

TEST_F(JointCommands, TrajectoryWaitsForEveryGroup) {
  robot_.target_client->reply = [this](const auto&) {
    robot_.report_arrived({"head"});
    return make_error();
  };
  auto running =
      std::async(std::launch::async, [this] { return robot_.execute_joint_trajectory(two_groups(0.5), true); });
  // Some passes with one of two groups arrived.
  EXPECT_EQ(running.wait_for(std::chrono::milliseconds(350)), std::future_status::timeout);
  robot_.report_arrived({"head", "left_gripper"});
  EXPECT_EQ(running.get(), ControlStatus::SUCCESS);
  EXPECT_TRUE(log_.has("info", "execute_joint_trajectory success"));
  EXPECT_TRUE(robot_.controller_client->calls().empty());
}

TEST_F(JointCommands, TrajectoryIsConvertedAndSentWithItsLongestTime) {
  ASSERT_EQ(robot_.execute_joint_trajectory(two_groups(2.5), false), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.target_client->calls()[0].timeout, std::chrono::seconds(3));
  const auto gripper = sent("left_gripper");
  EXPECT_EQ(gripper.target_config().target_type(), 14);
  ASSERT_EQ(gripper.group_commands_size(), 2);
  EXPECT_DOUBLE_EQ(gripper.group_commands(0).joint_commands(0).position(), 50.0);
  EXPECT_DOUBLE_EQ(gripper.group_commands(0).joint_commands(0).effort(), 5.0);
  EXPECT_DOUBLE_EQ(gripper.group_commands(1).joint_commands(0).effort(), 40.0);
  EXPECT_DOUBLE_EQ(gripper.group_commands(1).time_from_start().sec(), 2.0);
  EXPECT_DOUBLE_EQ(sent("head").group_commands(1).joint_commands(0).position(), 0.2);

  ASSERT_EQ(robot_.set_joint_commands_batch(two_groups(2.5)), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.writer->sent().size(), 1U);
}

TEST_F(JointCommands, TrajectoryRefusalsNameTheOperation) {
  auto bad_effort = two_groups(1.0);
  bad_effort.points[1].joint_command_vec[1].effort = 101.0;
  sdk::Trajectory hand;
  hand.joint_groups = {"left_dexhand"};
  hand.points = {{0.0, std::vector<JointCommand>(6)}};
  const struct {
    sdk::Trajectory trajectory;
    std::string executed;
    std::string batched;
  } cases[] = {
      {{}, "trajectory invalid", "set_joint_commands_batch: trajectory invalid"},
      {bad_effort, "ERROR: execute_joint_trajectory: convert_trajectory_points_to_internal_unit failed",
       "ERROR: set_joint_commands_batch: convert_trajectory_points_to_internal_unit failed"},
      {hand, "execute_joint_trajectory: build_joint_group_to_trajectory_map failed",
       "set_joint_commands_batch: build_joint_group_to_trajectory_map failed"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.executed);
    EXPECT_EQ(robot_.execute_joint_trajectory(c.trajectory, true), ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(log_.has("error", c.executed));
    EXPECT_EQ(robot_.set_joint_commands_batch(c.trajectory), ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(log_.has("error", c.batched));
  }
  EXPECT_TRUE(robot_.sent_targets().empty());
}

TEST_F(JointCommands, LongTrajectoryOfTwoArms) {
  sdk::Trajectory trajectory;
  trajectory.joint_groups = {"left_arm", "right_arm"};
  for (int i = 0; i < 10'000; ++i) {
    trajectory.points.push_back({i * 0.01, std::vector<JointCommand>(14, {i * 1e-4, 0, 0, 0})});
  }
  ASSERT_EQ(robot_.execute_joint_trajectory(std::move(trajectory), false), ControlStatus::SUCCESS);
  for (const char* arm : {"left_arm", "right_arm"}) {
    const auto sent_arm = sent(arm);
    ASSERT_EQ(sent_arm.group_commands_size(), 10'000);
    EXPECT_EQ(sent_arm.group_commands(9'999).joint_commands_size(), 7);
  }
  EXPECT_EQ(robot_.target_client->calls()[0].timeout, std::chrono::seconds(100));
}

TEST_F(JointCommands, ExecutionStatusOfGroups) {
  robot_.report_arrived({"head"});
  robot_.report_error("left_arm", kFatal);
  EXPECT_EQ(robot_.check_trajectory_execution_status({"head", "leg", "left_arm", "tail"}),
            (std::vector<TrajectoryControlStatus>{
                TrajectoryControlStatus::TRAJECTORY_COMPLETED, TrajectoryControlStatus::TRAJECTORY_RUNNING,
                TrajectoryControlStatus::TRAJECTORY_FAULT, TrajectoryControlStatus::TRAJECTORY_FAULT}));
  EXPECT_TRUE(log_.has("error", "left_arm has fault"));
  EXPECT_TRUE(log_.has("error", "has unknown joint group : tail"));

  FakeRobot silent;
  silent.start();
  EXPECT_EQ(silent.check_trajectory_execution_status({"head"}),
            std::vector<TrajectoryControlStatus>{TrajectoryControlStatus::TRAJECTORY_COMPLETED});
  EXPECT_TRUE(log_.has("error", "get error info fail"));
  EXPECT_EQ(FakeRobot().check_trajectory_execution_status({"head"}),
            std::vector<TrajectoryControlStatus>{TrajectoryControlStatus::TRAJECTORY_FAULT});
}

TEST_F(JointCommands, StopReportsWhetherTheControllerAnswered) {
  robot_.controller_client->reply = [](const auto&) { return make_error("leg", kFatal); };
  EXPECT_EQ(robot_.stop_trajectory_execution(), ControlStatus::SUCCESS);
  EXPECT_TRUE(log_.has("info", "stop_all_action success"));
  EXPECT_EQ(robot_.controller_client->calls()[0].timeout, std::chrono::seconds(3));
  EXPECT_EQ(robot_.controller_client->calls()[0].request.ctrl_config_map().at("all").ctrl_option(), 6);
  sdk::ErrorInfo error_info;
  EXPECT_TRUE(robot_.stop_current_action("leg", error_info, 1));
  EXPECT_EQ(error_info.errors.size(), 1U);
  robot_.controller_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(robot_.stop_trajectory_execution(), ControlStatus::TIMEOUT);
  EXPECT_TRUE(log_.has("error", "stop_all_action timeout"));
  EXPECT_FALSE(robot_.stop_current_action("leg", error_info, 1));
  EXPECT_TRUE(log_.has("error", "stop_current_action timeout"));
}

TEST_F(JointCommands, NanTimeoutEndsTheWait) {
  EXPECT_EQ(robot_.set_joint_positions({0.1, 0.1}, {"head"}, {}, true, 0.5, NAN), ControlStatus::TIMEOUT);
  EXPECT_EQ(robot_.target_client->calls()[0].timeout, std::chrono::seconds(0));
}

}  // namespace
}  // namespace norvik::test
