// The mobile base, and the zero posture that moves it together with the joints.

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <limits>
#include <string>
#include <tuple>

#include "common_provider.hpp"
#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;
using sdk::MachineType;

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();

class Base : public ::testing::Test {
 protected:
  void SetUp() override { robot_.start_healthy(); }

  SdkLogCapture log_;
  FakeRobot robot_;
};

TEST_F(Base, VelocityLimitsAreExclusive) {
  const struct {
    double vx, vy, wz;
    std::string refusal;
  } cases[] = {
      {4.999, -4.999, -4.999, ""},
      {5.0, 0, 0, "linear_velocity out of range, expect vx,vy in (-5,5), got vx=5, vy=0"},
      {0, -5.0, 0, "linear_velocity out of range, expect vx,vy in (-5,5), got vx=0, vy=-5"},
      {0, 0, 5.0, "angular_velocity out of range, expect wz in [-5,5], got wz=5"},
      {6.0, 0, 6.0, "linear_velocity out of range, expect vx,vy in (-5,5), got vx=6, vy=0"},
      {6.0, 0, kNan, "velocity contains NaN or Inf, got vx=6, vy=0, wz=nan"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.refusal);
    // The components that a base does not have are not looked at.
    EXPECT_EQ(robot_.set_base_velocity({c.vx, c.vy, kNan}, {kNan, 99.0, c.wz}, 0.0),
              c.refusal.empty() ? ControlStatus::SUCCESS : ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(c.refusal.empty() || log_.has("error", c.refusal));
  }
  EXPECT_EQ(robot_.writer->sent().size(), 1U);
}

TEST_F(Base, VelocityWithDurationStopsTheBase) {
  const auto start = std::chrono::steady_clock::now();
  EXPECT_EQ(robot_.set_base_velocity({0.5, 0, 0}, {0, 0, 0}, 0.12), ControlStatus::SUCCESS);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(120));
  ASSERT_EQ(robot_.target_client->calls().size(), 1U);
  const auto stop = robot_.target_client->calls()[0];
  EXPECT_EQ(stop.timeout, std::chrono::seconds(5));
  const auto& frame = stop.request.target_task_trajectory_map().at("chassis").task_commands(0).subtask_commands(0);
  EXPECT_DOUBLE_EQ(frame.twist_msg().twist().linear().x(), 0.0);
  EXPECT_TRUE(log_.has("info", "stop_base success"));
  EXPECT_FALSE(log_.has("info", "set_base_velocity success"));
}

TEST_F(Base, PoseChecksNumbersThenFrames) {
  const struct {
    double x, time, timeout;
    std::string frame, reference;
    bool valid;
  } cases[] = {
      {0, 0.01, 1, "base_link", "odom", true}, {0, 0.01, 1, "rel(0)", "map", true},
      {0, 0.01, 1, "rel(0)", "rel(0)", false}, {0, 0.01, 1, "odom", "base_link", false},
      {0, 0.01, 1, "tail", "odom", false},     {0, 0.01, 1, "", "", false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.frame + " " + c.reference);
    log_.clear();
    EXPECT_EQ(robot_.set_base_pose(c.x, 0, 0, c.frame, c.reference, c.time, false, c.timeout),
              c.valid ? ControlStatus::SUCCESS : ControlStatus::INVALID_INPUT);
    EXPECT_NE(c.valid, log_.has("error", "set_base_pose invalid frame_id/reference_frame_id: " + c.frame + "  /  " +
                                             c.reference));
  }
  EXPECT_TRUE(log_.has("info", "valid_frame_id: 0, frame_id: , reference_frame_id: pose is : 0, 0, 0"));
  for (const auto& [x, time, timeout] : {std::tuple{kNan, 1.0, 1.0}, {0.0, kNan, 1.0}, {0.0, 1.0, INFINITY}}) {
    log_.clear();
    EXPECT_EQ(robot_.set_base_pose(x, 0, 0, "tail", "odom", time, false, timeout), ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(log_.has_containing("error", "set_base_pose contains NaN or Inf"));
    EXPECT_TRUE(log_.texts("info").empty());
  }
  // So also without an initialisation.
  EXPECT_EQ(FakeRobot().set_base_pose(0, 0, 0, "tail", "odom", 1.0, false, 1.0), ControlStatus::INVALID_INPUT);
}

TEST_F(Base, PoseIsSentWithItsPlannedTime) {
  const struct {
    double time, timeout;
    double sent_time;
    int request_timeout;
  } cases[] = {{-1.0, 0.2, 1.0, 1}, {0.0, 1.0, 1.0, 1}, {2.0, 2.5, 2.0, 3}};
  for (const auto& c : cases) {
    ASSERT_EQ(robot_.set_base_pose(1, 2, 0.5, "rel(0)", "odom", c.time, false, c.timeout), ControlStatus::SUCCESS);
    const auto call = robot_.target_client->calls().back();
    const auto& task = call.request.target_task_trajectory_map().at("chassis").task_commands(0);
    EXPECT_EQ(call.timeout, std::chrono::seconds(c.request_timeout));
    EXPECT_DOUBLE_EQ(task.time_from_start().sec(), c.sent_time);
    EXPECT_EQ(task.subtask_commands(0).header().frame_id(), "rel(0)");
  }
}

TEST_F(Base, BlockingPoseSleepsForThePlannedTime) {
  const auto start = std::chrono::steady_clock::now();
  ASSERT_EQ(robot_.set_base_pose(1, 2, 0.5, "odom", "odom", 0.15, true, 1.0), ControlStatus::SUCCESS);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(150));
}

TEST_F(Base, PoseRecordMovesInTheOdometryFrame) {
  sdk::Pose pose;
  pose.x = 3.0;
  pose.qz = 1.0;
  pose.qw = 0.0;
  ASSERT_EQ(robot_.set_base_pose(pose, false, 1.0), ControlStatus::SUCCESS);
  const auto target = robot_.target_client->calls()[0].request;
  const auto& task = target.target_task_trajectory_map().at("chassis").task_commands(0);
  const auto& frame = task.subtask_commands(0);
  EXPECT_DOUBLE_EQ(task.time_from_start().sec(), 1.0);
  EXPECT_EQ(frame.header().frame_id(), "odom");
  EXPECT_EQ(frame.reference_frame_id(), "odom");
  EXPECT_DOUBLE_EQ(frame.pose_msg().pose().position().x(), 3.0);
  EXPECT_NEAR(frame.pose_msg().pose().orientation().z(), 1.0, 1e-12);
}

TEST(BaseOf, EachModelUsesItsChassis) {
  const struct {
    MachineType type;
    std::string chassis;
  } models[] = {{MachineType::K2, "chassis"}, {MachineType::R5, "swerve_chassis"}};
  for (const auto& model : models) {
    SCOPED_TRACE(model.chassis);
    FakeRobot robot(model.type);
    robot.start_healthy();
    const auto switches = [&] { return robot.controller_client->calls().size(); };
    EXPECT_EQ(robot.stop_base(), ControlStatus::SUCCESS);
    EXPECT_EQ(robot.get_active_controller(model.chassis), model.chassis + "_twist_ctrl");
    EXPECT_EQ(robot.stop_base(), ControlStatus::SUCCESS);
    EXPECT_EQ(switches(), 1U);                // already active
    for (const size_t expected : {2U, 3U}) {  // the pose controller is told again each time
      EXPECT_EQ(robot.set_base_pose(0, 0, 0, "odom", "odom", 0.1, false, 1), ControlStatus::SUCCESS);
      EXPECT_EQ(switches(), expected);
    }
    EXPECT_EQ(robot.get_active_controller(model.chassis), model.chassis + "_pose_ctrl");
    EXPECT_EQ(robot.target_client->calls()[0].request.target_task_trajectory_map().count(model.chassis), 1U);
    robot.report_error(model.chassis, kFatal);
    EXPECT_EQ(robot.stop_base(), ControlStatus::FAULT);
  }
}

TEST_F(Base, FailedSwitchEndsTheCommand) {
  robot_.controller_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(robot_.set_base_velocity({0, 0, 0}, {0, 0, 0}, 0), ControlStatus::TIMEOUT);
  EXPECT_TRUE(log_.has("error", "switch controller mode to 1 fail"));
  EXPECT_EQ(robot_.set_base_pose(0, 0, 0, "odom", "odom", false, 1), ControlStatus::TIMEOUT);
  EXPECT_TRUE(log_.has("error", "switch controller mode to 0 fail"));
  EXPECT_TRUE(robot_.sent_targets().empty());
}

TEST_F(Base, OdometryIsHandedOutAsReported) {
  std::unordered_map<std::string, std::array<double, 3>> velocity;
  EXPECT_FALSE(robot_.get_odom());
  EXPECT_TRUE(log_.has("error", "get_odom fetch failed: odom_msg is nullptr"));
  EXPECT_EQ(robot_.get_base_velocity(velocity), ControlStatus::DATA_FETCH_FAILED);
  robot_.report_odom(nullptr);
  EXPECT_TRUE(log_.has("error", "odom callback message is nullptr"));

  auto message = std::make_shared<navigation_proto::Odometry>();
  message->mutable_header()->mutable_timestamp()->set_sec(1'700'000'000);
  message->mutable_header()->mutable_timestamp()->set_nanosec(123'456'789);
  message->mutable_pose()->mutable_pose()->mutable_position()->set_y(2.0);
  message->mutable_pose()->mutable_pose()->mutable_orientation()->set_w(0.5);
  message->mutable_twist()->mutable_twist()->mutable_linear()->set_x(0.25);
  message->mutable_twist()->mutable_twist()->mutable_angular()->set_z(-1.0);
  robot_.report_odom(message);
  const auto odom = robot_.get_odom();
  ASSERT_TRUE(odom);
  EXPECT_EQ(odom->timestamp_ns, 1'700'000'000'123'456'789);
  EXPECT_DOUBLE_EQ(odom->position[1], 2.0);
  EXPECT_DOUBLE_EQ(odom->orientation[3], 0.5);
  EXPECT_EQ(robot_.get_base_velocity(velocity), ControlStatus::SUCCESS);
  EXPECT_DOUBLE_EQ(velocity["linear"][0], 0.25);
  EXPECT_DOUBLE_EQ(velocity["angular"][2], -1.0);
}

// The slot that motion planning fills, emptied at the end.
class Zero : public Base {
 protected:
  void TearDown() override { slot() = nullptr; }
  static decltype(sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_)& slot() {
    return sdk::WholeBodyJointProvider::move_whole_body_joint_zero_func_;
  }
};

TEST_F(Zero, BaseGoesFirstThenTheJoints) {
  std::shared_ptr<void> given;
  slot() = [&](bool blocking, double timeout_s, double speed, std::shared_ptr<void> parameter) {
    EXPECT_EQ(robot_.target_client->calls().size(), 1U);
    EXPECT_FALSE(blocking);
    EXPECT_DOUBLE_EQ(timeout_s, 2.5);
    EXPECT_DOUBLE_EQ(speed, 0.3);
    given = std::move(parameter);
    return sdk::MotionStatus::SUCCESS;
  };
  sdk::Pose pose;
  pose.x = 1.5;
  EXPECT_EQ(robot_.zero_whole_body_and_base(pose, false, 0.3, 2.5, nullptr),
            std::make_pair(ControlStatus::SUCCESS, ControlStatus::SUCCESS));
  EXPECT_EQ(given, sdk::default_param);
  const auto call = robot_.target_client->calls()[0];
  const auto& task = call.request.target_task_trajectory_map().at("chassis").task_commands(0);
  EXPECT_EQ(call.timeout, std::chrono::seconds(3));
  EXPECT_DOUBLE_EQ(task.time_from_start().sec(), 2.0);
  EXPECT_DOUBLE_EQ(task.subtask_commands(0).pose_msg().pose().position().x(), 1.5);
}

TEST_F(Zero, BaseHasADefaultTimeWhereTheTimeoutIsNone) {
  robot_.zero_whole_body_and_base("odom", "map", false, 0.3, -1.0, nullptr);
  const auto call = robot_.target_client->calls().at(0);
  EXPECT_EQ(call.timeout, std::chrono::seconds(0));
  const auto& task = call.request.target_task_trajectory_map().at("chassis").task_commands(0);
  EXPECT_DOUBLE_EQ(task.time_from_start().sec(), 1.0);
}

TEST_F(Zero, StatusesOfPlanningAndOfTheBaseStayApart) {
  const auto parameter = std::make_shared<sdk::Parameter>();
  EXPECT_EQ(robot_.zero_whole_body_and_base("odom", "tail", true, 0.3, 1.0, parameter),
            std::make_pair(ControlStatus::INVALID_INPUT, ControlStatus::INVALID_INPUT));  // no slot, no such frame
  const struct {
    sdk::MotionStatus planned;
    ControlStatus joints;
  } cases[] = {{sdk::MotionStatus::PUBLISH_FAIL, ControlStatus::PUBLISH_FAIL},
               {sdk::MotionStatus::STATUS_NUM, ControlStatus::STATUS_NUM},
               {sdk::MotionStatus::UNSUPPORTED_FUNCRION, ControlStatus::FAULT},
               {static_cast<sdk::MotionStatus>(99), ControlStatus::FAULT}};
  for (const auto& c : cases) {
    slot() = [&](bool, double, double, const std::shared_ptr<void>& given) {
      EXPECT_EQ(given, parameter);
      return c.planned;
    };
    EXPECT_EQ(robot_.zero_whole_body_and_base("rel(0)", "odom", false, 0.3, 1.0, parameter),
              std::make_pair(c.joints, ControlStatus::SUCCESS));
  }
}

TEST_F(Zero, BlockingWaitsOutTheBase) {
  slot() = [](bool, double, double, const std::shared_ptr<void>&) { return sdk::MotionStatus::FAULT; };
  const auto timed = [&](double timeout_s) {
    const auto start = std::chrono::steady_clock::now();
    robot_.zero_whole_body_and_base("odom", "odom", true, 0.3, timeout_s, nullptr);
    return std::chrono::steady_clock::now() - start;
  };
  EXPECT_GE(timed(0.15), std::chrono::milliseconds(150));
  robot_.report_error("chassis", kFatal);
  EXPECT_LT(timed(30.0), std::chrono::seconds(10));  // the base does not move, nothing to wait for
}

}  // namespace
}  // namespace norvik::test
