// A robot that is killed while it is commanded, and comes back: the application tells of it and goes on.

#include <gtest/gtest.h>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

class Restart : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  // No answer leaves the robot any more, and what is asked of it arrives.
  void hold_answers() {
    for (const char* service : {"tavrinox/wbcs/target_server", "tavrinox/wbcs/controller_server"}) {
      live_.control({{"op", "reply"}, {"service", service}, {"fault", "delay"}, {"delay_ms", 60000}, {"count", -1}});
    }
  }

  // The library believes the velocity controller active, the new robot has started with the one for poses.
  void expect_base_mended() {
    for (const Operation& operation : operations_of(GetParam())) {
      if (operation.restarted.answer != operation.accepted.told.answer || operation.name == "set_base_velocity") {
        SCOPED_TRACE(operation.name);
        const int heard_before = live_.heard(operation.endpoint);
        expect_told(live_, {operation.accepted.call, operation.restarted});
        EXPECT_TRUE(eventually([&] { return live_.heard(operation.endpoint) > heard_before; }));
        EXPECT_EQ(live_.state()["base"]["vx"], 0.0);
      }
    }
    EXPECT_EQ(to_text(live_.robot().release_controller(GetParam().chassis)), "SUCCESS");
    EXPECT_EQ(to_text(live_.robot().set_base_velocity({0.1, 0, 0}, {0, 0, 0})), "SUCCESS");
    EXPECT_TRUE(eventually([&] { return live_.state()["base"]["vx"] > 0.05; }));
    EXPECT_EQ(to_text(live_.robot().stop_base()), "SUCCESS");
  }

  LiveRobot live_{GetParam()};
};

TEST_P(Restart, KilledDuringEveryRequest) {
  ASSERT_EQ(to_text(live_.robot().set_base_velocity({0, 0, 0}, {0, 0, 0})), "SUCCESS");
  std::vector<std::pair<std::string, Attempt>> attempts;
  for (const Operation& operation : operations_of(GetParam())) {
    // Driving the base asks both services in turn.
    if (operation.silence && (operation.group != GetParam().chassis || operation.name == "switch_controller")) {
      attempts.push_back({operation.name, {operation.accepted.call, *operation.silence}});
    }
  }
  hold_answers();
  const auto heard = [this] {
    return live_.heard("tavrinox/wbcs/target_server") + live_.heard("tavrinox/wbcs/controller_server");
  };
  const int before = heard();
  expect_told_at_once(live_, attempts, [&] {
    EXPECT_TRUE(eventually([&] { return heard() - before >= static_cast<int>(attempts.size()); }));
    live_.simulator().kill_hard();
  });

  ASSERT_TRUE(live_.restart_simulator());
  expect_base_mended();
  for (const Operation& operation : operations_of(GetParam())) {
    SCOPED_TRACE(operation.name);
    const int heard_before = live_.heard(operation.endpoint);
    expect_told(live_, operation.accepted);
    EXPECT_TRUE(eventually([&] { return live_.heard(operation.endpoint) > heard_before; }));
  }
}

TEST_P(Restart, KilledDuringMotions) {
  sdk::Trajectory slow;
  slow.joint_groups = {"left_arm"};
  slow.points = {{3.0, std::vector<sdk::JointCommand>(7, {0.2})}};
  const std::vector<std::pair<std::string, Attempt>> attempts = {
      {"set_joint_positions",
       {[](auto& robot) {
          return to_text(robot.set_joint_positions({0.8, 0.0}, {"head"}, {}, true, 0.1, 3.0));
        },
        error("TIMEOUT", "set_joint_positions timeout")}},
      {"execute_joint_trajectory",
       {[&](auto& robot) { return to_text(robot.execute_joint_trajectory(slow)); },
        error("TIMEOUT", "execute_joint_trajectory timeout")}},
      {"stop after set_joint_positions", {[](auto&) { return ""; }, error("", "stop head action timeout.")}},
  };
  // In motion beforehand: reports from before a command must not look like its arrival.
  ASSERT_EQ(to_text(live_.robot().set_joint_positions({0.8, 0.0}, {"head"}, {}, false, 0.1)), "SUCCESS");
  ASSERT_EQ(to_text(live_.robot().execute_joint_trajectory(slow, false)), "SUCCESS");
  using Statuses = std::vector<sdk::TrajectoryControlStatus>;
  ASSERT_TRUE(eventually([this] {
    return live_.robot().check_trajectory_execution_status({"head", "left_arm"}) ==
           Statuses(2, sdk::TrajectoryControlStatus::TRAJECTORY_RUNNING);
  }));
  const int before = live_.heard("tavrinox/wbcs/target_server");
  expect_told_at_once(live_, attempts, [&] {
    EXPECT_TRUE(eventually([&] { return live_.heard("tavrinox/wbcs/target_server") == before + 2; }));
    live_.state();  // Answered after them.
    live_.simulator().kill_hard();
  });
  ASSERT_TRUE(live_.restart_simulator());
  EXPECT_EQ(to_text(live_.robot().set_joint_positions({0.3, 0.0}, {"head"}, {}, true, 1.0, 5.0)), "SUCCESS");
}

INSTANTIATE_TEST_SUITE_P(All, Restart, ::testing::Values(kK2, kR5), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test
