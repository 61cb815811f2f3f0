// The helpers beside the facade, with a robot.

#include <gtest/gtest.h>

#include <algorithm>

#include <norvik_sdk/norvik_sdk.hpp>

#include "live/live_robot.hpp"

namespace norvik::test {
namespace {

using sdk::ControlStatus;

int errors_in(const std::vector<LogRecord>& records) {
  return static_cast<int>(std::count_if(records.begin(), records.end(), [](const LogRecord& record) {
    return record.level == "error" || record.level == "critical";
  }));
}

TEST(RobotHelpers, WaitForTheRobotWithoutAnErrorInTheLog) {
  LiveRobot live(kK2);
  auto& robot = live.robot();
  EXPECT_FALSE(sdk::wait_until_ready(robot, 0.0));
  ASSERT_TRUE(live.simulator().start());
  ASSERT_TRUE(robot.init());
  ASSERT_TRUE(sdk::wait_until_ready(robot, 10.0));
  EXPECT_EQ(errors_in(live.take_log()), 0);
  EXPECT_TRUE(sdk::current_errors(robot)->errors.empty());
  // What waited is not refused.
  EXPECT_EQ(robot.set_joint_positions(robot.get_joint_positions({"head"}), {"head"}, {}, false),
            ControlStatus::SUCCESS);
  EXPECT_NE(robot.get_odom(), nullptr);

  robot.request_shutdown();
  EXPECT_FALSE(sdk::wait_until_ready(robot, 10.0));
}

TEST(RobotHelpers, TellWhyACommandWasRefused) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  auto& robot = live.robot();
  ASSERT_TRUE(live.make_faulty("left_arm"));
  EXPECT_FALSE(sdk::current_errors(robot)->errors.empty());
  sdk::CallLog log;
  EXPECT_EQ(robot.set_joint_positions(std::vector<double>(7, 0.1), {"left_arm"}), ControlStatus::FAULT);
  EXPECT_NE(log.text().find("left_arm"), std::string::npos) << log.text();
  ASSERT_TRUE(live.clear_faults());
  EXPECT_TRUE(eventually([&] { return sdk::current_errors(robot)->errors.empty(); }));
}

TEST(RobotHelpers, ForgetWhatWasSwitched) {
  LiveRobot live(kR5);
  ASSERT_TRUE(live.start());
  auto& robot = live.robot();
  ASSERT_EQ(robot.switch_controller(sdk::controllers::kHeadPvt), ControlStatus::SUCCESS);
  ASSERT_EQ(robot.get_active_controller(sdk::groups::kHead), sdk::controllers::kHeadPvt);
  const int heard = live.heard("tavrinox/wbcs/controller_server");
  sdk::forget_controllers(robot);
  EXPECT_EQ(robot.get_active_controller(sdk::groups::kHead), sdk::controllers::kNone);
  EXPECT_EQ(robot.switch_controller(sdk::controllers::kHeadPvt), ControlStatus::SUCCESS);
  EXPECT_EQ(live.heard("tavrinox/wbcs/controller_server"), heard + 1);
}

}  // namespace
}  // namespace norvik::test
