// What all commands have in common: the order of checks from "not initialised" to "fault while waiting".

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "fake_robot.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;
using sdk::JointCommand;

// One command operation. Texts are empty where the operation has none.
struct Operation {
  std::string name;
  std::function<ControlStatus(FakeRobot&, bool blocking)> call;
  std::string group;  // whose fatal error stops it; also the key of its target
  std::string not_initialised;
  std::string fault_before;
  bool by_request;  // else published
  ControlStatus no_reply;
  std::string no_reply_text;
  std::string fault_text;  // in a reply, and while waiting
  bool can_wait;           // stops waiting at an arrival and at a fault
  std::string success_text;
};

std::ostream& operator<<(std::ostream& stream, const Operation& operation) { return stream << operation.name; }

sdk::Trajectory arm_trajectory() {
  sdk::Trajectory trajectory;
  trajectory.joint_groups = {"left_arm"};
  trajectory.points = {{0.5, std::vector<JointCommand>(7)}};
  return trajectory;
}

const std::string kNoDispatcher = "ERROR: target_dispatcher_ is nullptr, please init.";
const std::string kNoClient = "ERROR: common_utils_->get_wbcs_target_client() is nullptr, please init.";

std::vector<Operation> operations() {  // NOLINT(readability-function-size) a table
  return {
      {"set_joint_commands",
       [](FakeRobot& robot, bool) {
         return robot.set_joint_commands({{}, {}}, {"head"}, {}, 0.0);
       },
       "head", kNoDispatcher, "", false, ControlStatus::PUBLISH_FAIL,
       "publish_proto_target failed: writer publish returned false.", "", false, ""},
      {"set_joint_commands_batch",
       [](FakeRobot& robot, bool) { return robot.set_joint_commands_batch(arm_trajectory()); }, "left_arm",
       kNoDispatcher, "", false, ControlStatus::PUBLISH_FAIL,
       "publish_proto_target failed: writer publish returned false.", "", false, ""},
      {"set_joint_positions",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_joint_positions({0.1, 0.2}, {"head"}, {}, blocking, 0.5, 3.0);
       },
       "head", kNoDispatcher, "", true, ControlStatus::TIMEOUT, "set_joint_positions dispatch fail",
       "set_joint_positions fault", true, "set_joint_positions success"},
      {"execute_joint_trajectory",
       [](FakeRobot& robot, bool blocking) { return robot.execute_joint_trajectory(arm_trajectory(), blocking); },
       "left_arm", kNoDispatcher, "", true, ControlStatus::TIMEOUT, "execute_joint_trajectory dispatch fail",
       "execute_joint_trajectory fault", true, "execute_joint_trajectory success"},
      {"set_base_velocity",
       [](FakeRobot& robot, bool) {
         return robot.set_base_velocity({0.1, 0, 0}, {0, 0, 0.1}, 0.0);
       },
       "chassis", kNoDispatcher, "has fatal error", false, ControlStatus::PUBLISH_FAIL,
       "set_base_velocity dispatch fail.", "", false, "set_base_velocity success"},
      {"set_base_pose",
       [](FakeRobot& robot, bool) { return robot.set_base_pose(1, 2, 0, "odom", "odom", 0.1, false, 1); }, "chassis",
       kNoDispatcher, "has fatal error", true, ControlStatus::TIMEOUT, "set_base_pose dispatch fail",
       "set_base_pose fault", false, "set_base_pose success"},
      {"stop_base", [](FakeRobot& robot, bool) { return robot.stop_base(); }, "chassis", kNoDispatcher,
       "has fatal error", true, ControlStatus::TIMEOUT, "stop_base dispatch fail", "stop_base fault", false,
       "stop_base success"},
      {"set_gripper_command",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_gripper_command("left_gripper", 0.03, 0.1, 50, blocking);
       },
       "left_gripper", kNoClient, "set_gripper_command fault", true, ControlStatus::TIMEOUT,
       "request_proto_target failed: request timed out or returned nullptr.", "set_gripper_command fault", true,
       "set_gripper_command done"},
      // A cup whose controller is silent counts as commanded.
      {"set_suction_cup_command",
       [](FakeRobot& robot, bool) { return robot.set_suction_cup_command("left_suction_cup", true); },
       "left_suction_cup", kNoClient, "set_suction_cup_command fault", true, ControlStatus::SUCCESS,
       "request_proto_target failed: request timed out or returned nullptr.", "set_suction_cup_command fault", false,
       "set_suction_cup_command success"},
      {"set_dexhand_command_inspire",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_dexhand_command("left_dexhand", std::vector<JointCommand>(6), sdk::DexHandType::INSPIRE,
                                          blocking);
       },
       "left_dexhand", kNoDispatcher, "", false, ControlStatus::PUBLISH_FAIL,
       "publish_proto_target failed: writer publish returned false.", "set_dexhand_command fault", true,
       "set_dexhand_command done"},
      {"set_dexhand_command_linker",
       [](FakeRobot& robot, bool blocking) {
         return robot.set_dexhand_command("left_dexhand", std::vector<JointCommand>(16, {10.5, 0, 0, 0}),
                                          sdk::DexHandType::LINKER_L20, blocking);
       },
       "left_dexhand", "ERROR: end_effector_control_ is nullptr, please init.",
       "linker L20 dexhand has fatal error before command", false, ControlStatus::PUBLISH_FAIL,
       "set_linker_l20_dexhand_command publish fail", "set_linker_l20_dexhand_command fault", true,
       "set_linker_l20_dexhand_command done"},
  };
}

class CommandLife : public ::testing::TestWithParam<Operation> {
 protected:
  void expect(ControlStatus status, const std::string& level, const std::string& text, bool blocking = false) {
    log_.clear();
    EXPECT_EQ(static_cast<int>(GetParam().call(robot_, blocking)), static_cast<int>(status));
    EXPECT_TRUE(text.empty() || log_.has(level, text)) << text;
  }

  // Calls `action` when the command has gone out.
  void after_sending(const std::function<void()>& action) {
    robot_.writer->on_publish = [action](const auto&) { action(); };
    robot_.target_client->reply = [action](const auto&) {
      action();
      return make_error();
    };
  }

  SdkLogCapture log_;
  FakeRobot robot_;
};

class RequestedCommand : public CommandLife {};
class WaitingCommand : public CommandLife {};

TEST_P(CommandLife, NotInitialised) { expect(ControlStatus::INIT_FAILED, "error", GetParam().not_initialised); }

TEST_P(CommandLife, NoErrorReportYet) {
  robot_.start();
  robot_.report_info(make_info(sdk::MachineType::K2));
  robot_.report_sensor(make_sensor());
  expect(ControlStatus::COMM_DISCONNECTED, "error", "get error info fail");
  EXPECT_TRUE(robot_.sent_targets().empty());
}

TEST_P(CommandLife, RefusedOnlyOnFatalErrorOfItsGroup) {
  robot_.start_healthy();
  robot_.report_error(GetParam().group, kFatal);
  expect(ControlStatus::FAULT, "error", GetParam().fault_before);
  EXPECT_TRUE(robot_.sent_targets().empty());

  robot_.report_error(GetParam().group, kBelowFatal);
  expect(ControlStatus::SUCCESS, "info", "");
  robot_.report_error("leg", kFatal);
  expect(ControlStatus::SUCCESS, "info", "");
}

TEST_P(CommandLife, NotDelivered) {
  robot_.start_healthy();
  robot_.writer->accepts = false;
  robot_.target_client->reply = [](const auto&) { return nullptr; };
  expect(GetParam().no_reply, "error", GetParam().no_reply_text, true);
}

TEST_P(RequestedCommand, FatalErrorInReply) {
  robot_.start_healthy();
  robot_.target_client->reply = [](const auto&) { return make_error(GetParam().group, kFatal); };
  expect(ControlStatus::FAULT, "error", GetParam().fault_text, true);
}

TEST_P(CommandLife, AcceptedSendsOneTarget) {
  robot_.start_healthy();
  expect(ControlStatus::SUCCESS, "info", GetParam().can_wait ? "" : GetParam().success_text);
  const auto targets = robot_.sent_targets();
  ASSERT_EQ(targets.size(), 1U);
  EXPECT_EQ(targets[0].target_group_trajectory_map().count(GetParam().group) +
                targets[0].target_task_trajectory_map().count(GetParam().group),
            1U);
  EXPECT_EQ(robot_.target_client->calls().size(), GetParam().by_request ? 1U : 0U);
}

TEST_P(WaitingCommand, EndsWithArrival) {
  robot_.start_healthy();
  after_sending([this] { robot_.report_arrived({GetParam().group}); });
  expect(ControlStatus::SUCCESS, "info", GetParam().success_text, true);
}

TEST_P(WaitingCommand, EndsWithFault) {
  robot_.start_healthy();
  after_sending([this] { robot_.report_error(GetParam().group, kFatal); });
  expect(ControlStatus::FAULT, "error", GetParam().fault_text, true);
}

std::vector<Operation> operations_that(bool Operation::*property) {
  std::vector<Operation> chosen;
  for (const Operation& operation : operations()) {
    if (operation.*property) {
      chosen.push_back(operation);
    }
  }
  return chosen;
}

std::string name_of(const ::testing::TestParamInfo<Operation>& test) { return test.param.name; }

INSTANTIATE_TEST_SUITE_P(All, CommandLife, ::testing::ValuesIn(operations()), name_of);
INSTANTIATE_TEST_SUITE_P(Some, RequestedCommand, ::testing::ValuesIn(operations_that(&Operation::by_request)), name_of);
INSTANTIATE_TEST_SUITE_P(Some, WaitingCommand, ::testing::ValuesIn(operations_that(&Operation::can_wait)), name_of);

}  // namespace
}  // namespace norvik::test
