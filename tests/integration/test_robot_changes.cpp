// Another robot than the one that the program started with: records say so, and name the remedy.

#include <gtest/gtest.h>

#include <algorithm>

#include "live/live_robot.hpp"

namespace norvik::test {
namespace {

// Whether a record with this part has come since the last look.
bool has_logged(LiveRobot& live, const std::string& part) {
  const auto records = live.take_log();
  return std::any_of(records.begin(), records.end(),
                     [&](const LogRecord& record) { return record.text.find(part) != std::string::npos; });
}

TEST(RobotChanges, RestartedRobotHasOtherControllersThanRemembered) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  const auto drive = [&] { return to_text(live.robot().set_base_velocity({0.1, 0, 0}, {0, 0, 0})); };
  ASSERT_EQ(drive(), "SUCCESS");
  ASSERT_EQ(drive(), "SUCCESS");
  ASSERT_FALSE(has_logged(live, "forget_controllers(robot)"));
  ASSERT_TRUE(live.simulator().restart());
  EXPECT_TRUE(eventually([&] {
    drive();
    return has_logged(live, "release_controller(\"chassis\")");
  })) << "the lost server is noticed when its lease has run out";
  EXPECT_EQ(to_text(live.robot().release_controller("chassis")), "SUCCESS");
  EXPECT_EQ(drive(), "SUCCESS");
  EXPECT_TRUE(eventually([&] { return live.state()["base"]["vx"].get<double>() > 0.05; }));
}

TEST(RobotChanges, RobotOfAnotherModel) {
  LiveRobot live(kK2);
  ASSERT_TRUE(live.start());
  ASSERT_FALSE(has_logged(live, "this program uses the facade of"));
  ASSERT_EQ(live.simulator().terminate(), 0);
  SimulatorProcess other({"--model", "r5"});
  ASSERT_TRUE(other.start());
  EXPECT_TRUE(eventually([&] { return has_logged(live, "the robot is a R5, this program uses the facade of K2"); }));
}

}  // namespace
}  // namespace norvik::test
