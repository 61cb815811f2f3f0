// Targets that the user builds, and Cartesian set-points.

#include <gtest/gtest.h>

#include <string>

#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;
using Names = std::vector<std::string>;

sdk::TavrinoXTarget target_of(const std::string& group) {
  sdk::TavrinoXTarget target;
  target.target_group_trajectory_map[group];
  return target;
}

class Targets : public ::testing::Test {
 protected:
  SdkLogCapture log_;
  FakeRobot robot_;
};

TEST_F(Targets, PublishChecksTheTargetThenTheInitialisation) {
  EXPECT_EQ(robot_.PublishTarget({}), ControlStatus::INVALID_INPUT);
  EXPECT_TRUE(log_.has("error", "PublishTarget invalid input: target is empty"));
  EXPECT_EQ(robot_.PublishTarget(target_of("head")), ControlStatus::INIT_FAILED);
  EXPECT_TRUE(log_.has("error", "PublishTarget failed: target_dispatcher_ is nullptr, please init."));
  robot_.start();
  robot_.report_error("head", kFatal);  // not looked at
  EXPECT_EQ(robot_.PublishTarget(target_of("head")), ControlStatus::SUCCESS);
  EXPECT_EQ(robot_.writer->sent().size(), 1U);
  robot_.writer->accepts = false;
  EXPECT_EQ(robot_.PublishTarget(target_of("head")), ControlStatus::PUBLISH_FAIL);
}

TEST_F(Targets, RequestRefusalsComeInOrder) {
  auto report = robot_.RequestTarget(target_of(""));
  ASSERT_TRUE(report);
  ASSERT_EQ(report->errors.size(), 1U);
  EXPECT_EQ(report->errors[0].component, "sdk_request_target");
  EXPECT_EQ(report->errors[0].code, 65585U);
  EXPECT_EQ(report->errors[0].description, "target_group_trajectory_map contains empty group name");
  EXPECT_TRUE(log_.has("error", "RequestTarget invalid input: target_group_trajectory_map contains empty group name"));

  EXPECT_FALSE(robot_.RequestTarget(target_of("head")));
  EXPECT_TRUE(log_.has("error", "RequestTarget failed: target_dispatcher_ is nullptr, please init."));
  robot_.start();
  EXPECT_FALSE(robot_.RequestTarget(target_of("head")));
  EXPECT_TRUE(log_.has("error", "RequestTarget failed: current error buffer is unavailable."));

  robot_.report_error("head", 0x20000);
  report = robot_.RequestTarget(target_of("head"));
  ASSERT_TRUE(report);
  ASSERT_EQ(report->errors.size(), 2U);
  EXPECT_EQ(report->errors[0].code, 65586U);
  EXPECT_TRUE(log_.has("error", "RequestTarget blocked by current runtime errors."));
  EXPECT_TRUE(robot_.sent_targets().empty());
  EXPECT_TRUE(robot_.RequestTarget(target_of("leg")));  // below fatal blocks its own group only
  EXPECT_EQ(robot_.target_client->calls().size(), 1U);
}

TEST_F(Targets, RequestHandsOutTheControllersReport) {
  robot_.start_healthy();
  robot_.target_client->reply = [](const auto&) { return make_error("head", 7); };
  const auto report = robot_.RequestTarget(target_of("head"));
  ASSERT_TRUE(report);
  ASSERT_EQ(report->errors.size(), 1U);
  EXPECT_EQ(report->errors[0].code, 7U);
  EXPECT_EQ(robot_.target_client->calls()[0].timeout, std::chrono::seconds(5));
  robot_.target_client->reply = [](const auto&) { return nullptr; };
  EXPECT_FALSE(robot_.RequestTarget(target_of("head")));
  EXPECT_TRUE(log_.has("error", "RequestTarget failed: dispatch status is 1"));
}

TEST_F(Targets, EndEffectorCommandArguments) {
  const std::vector<double> pose(7);
  const struct {
    std::vector<std::vector<double>> poses;
    Names frames;
    Names references;
    std::string refusal;
  } cases[] = {
      {{pose}, {}, {}, "poses/end_effector_frames size mismatch"},
      {{}, {}, {"world"}, "empty input"},
      {{pose}, {"a"}, {"b", "c"}, "reference_frames must be empty (use default world) or match poses length"},
      {{pose, std::vector<double>(5)}, {"a", "b"}, {}, "pose 1 needs at least 7 values [x,y,z,qx,qy,qz,qw]"},
      {{pose}, {"a"}, {}, "not initialized"},
  };
  for (const auto& c : cases) {
    const auto status = robot_.set_end_effector_command(c.poses, c.frames, c.references);
    EXPECT_EQ(status, c.refusal == "not initialized" ? ControlStatus::INIT_FAILED : ControlStatus::INVALID_INPUT);
    EXPECT_TRUE(log_.has("error", "set_end_effector_command: " + c.refusal)) << c.refusal;
  }
  EXPECT_EQ(robot_.clear_end_effector_command(), ControlStatus::INIT_FAILED);
  EXPECT_TRUE(log_.has("error", "clear_end_effector_command: not initialized"));
}

TEST_F(Targets, EndEffectorCommandsGoToTheWholeBody) {
  robot_.start();
  const std::vector<double> pose = {1, 2, 3, 0, 0, 0, 1};
  EXPECT_EQ(robot_.set_end_effector_command({pose, pose}, {"lee", "ree"}, {}), ControlStatus::SUCCESS);
  const auto task = robot_.writer->sent()[0].target_task_trajectory_map().at("wbc");
  ASSERT_EQ(task.task_commands(0).subtask_commands_size(), 2);
  EXPECT_EQ(task.task_commands(0).subtask_commands(1).reference_frame_id(), "world");
  EXPECT_EQ(robot_.clear_end_effector_command(), ControlStatus::SUCCESS);
  robot_.writer->accepts = false;
  EXPECT_EQ(robot_.set_end_effector_command({pose}, {"lee"}, {"odom"}), ControlStatus::PUBLISH_FAIL);
  EXPECT_TRUE(log_.has("error", "set_end_effector_command: publish fail"));
  EXPECT_EQ(robot_.clear_end_effector_command(), ControlStatus::PUBLISH_FAIL);
  EXPECT_TRUE(log_.has("error", "clear_end_effector_command: publish fail"));
}

TEST_F(Targets, EndEffectorPosesAsReported) {
  EXPECT_TRUE(robot_.get_wbc_end_effector_poses().empty());
  EXPECT_TRUE(log_.has("error", "get_wbc_end_effector_poses: wbc_info is nullptr"));
  robot_.start();
  auto info = make_info(sdk::MachineType::K2);
  auto& other = *info->mutable_other_info_map();
  for (int i = 0; i < 7; ++i) {
    other["lee_pose"].mutable_list_value()->add_values(i);
  }
  other["ree_pose"].set_str_value("none");
  robot_.report_info(info);
  const auto poses = robot_.get_wbc_end_effector_poses();
  ASSERT_EQ(poses.size(), 3U);
  EXPECT_EQ(poses.at("lee_pose"), (std::vector<double>{0, 1, 2, 3, 4, 5, 6}));
  EXPECT_TRUE(poses.at("ree_pose").empty());
  EXPECT_TRUE(poses.at("head_pose").empty());
  EXPECT_TRUE(log_.has("error", "get_wbc_end_effector_poses: head_pose not found"));
  EXPECT_FALSE(log_.has("error", "get_wbc_end_effector_poses: ree_pose not found"));
}

}  // namespace
}  // namespace norvik::test
