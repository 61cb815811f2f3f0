// What is refused before anything is sent, in the order of the checks: each row has one thing less wrong than the one
// before.

#include <cmath>
#include <limits>

#include "fake_service.hpp"

namespace norvik::test {
namespace {

using sdk::NorvikNavigation;
using sdk::Pose;
using sdk::Waypoint;

enum class State { kNothing, kNoService, kNoClients, kReady };

struct Row {
  const char* operation;
  State state;
  std::function<std::string(NorvikNavigation&)> call;  // A status, a handle's message, or a bool.
  std::string answer;
  std::string error;
};

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();
constexpr float kNanF = std::numeric_limits<float>::quiet_NaN();

const Pose kBad{0, kNan, 0, 0, 0, 0, 1};
const Pose kNoTurn{0, 0, 0, 0, 0, 0, 0};
const std::string kNotReady = "pns service is not initialed! status: 0";
const std::string kNoV2 = "pns plan client /norvik/pns/navigation_plan_v2 is null";
const std::string kNoConfig = "get_set_config client /norvik/pns/get_set_config is null";
const std::string kWhy = ": numbers must be finite, the orientation not zero";

template <typename Call>
auto as_text(Call call) {
  return [call](NorvikNavigation& navigation) { return sdk::to_string(call(navigation)); };
}
template <typename Call>
auto message_of(Call call) {
  return [call](NorvikNavigation& navigation) {
    const sdk::TaskHandle handle = call(navigation);
    EXPECT_EQ(handle.status, NaviTaskStatus::UNKNOWN);
    EXPECT_EQ(handle.task_id, "");
    return handle.message;
  };
}

std::vector<Row> goal_rows() {
  const auto goal = [](const Pose& pose, float timeout) {
    return as_text([=](auto& n) { return n.navigate_to_goal(pose, true, true, timeout); });
  };
  const auto straight = [](const Pose& pose, float timeout) {
    return as_text([=](auto& n) { return n.move_straight_to(pose, true, timeout); });
  };
  const auto v2 = [](const char* frame, const Pose& pose, double limit, float timeout = 1.0F) {
    return as_text([=](auto& n) { return n.navigate_to_goal_v2(pose, {limit, 1, 1}, frame, true, true, timeout); });
  };
  const auto velocity = [](double duration, double vx) {
    return as_text([=](auto& n) { return n.navigate_with_velocity(vx, 0, 0, duration); });
  };
  return {
      {"goal", State::kNoService, goal(kBad, kNanF), "SERVICE_NOT_READY", kNotReady},
      {"goal", State::kReady, goal(kBad, kNanF), "INVALID_INPUT", "navigate_to_goal invalid pose" + kWhy},
      {"goal", State::kReady, goal(kNoTurn, kNanF), "INVALID_INPUT", "navigate_to_goal invalid pose" + kWhy},
      {"goal", State::kReady, goal(kGoal, kNanF), "INVALID_INPUT", "navigate_to_goal invalid timeout: nan"},
      {"straight", State::kNoService, straight(kBad, kNanF), "SERVICE_NOT_READY", kNotReady},
      {"straight", State::kReady, straight(kBad, kNanF), "INVALID_INPUT", "move_straight_to invalid pose" + kWhy},
      {"straight", State::kReady, straight(kGoal, kNanF), "INVALID_INPUT", "move_straight_to invalid timeout: nan"},
      {"v2", State::kNothing, v2("odom", kBad, 9), "SERVICE_NOT_READY", kNotReady},
      {"v2", State::kNoClients, v2("odom", kBad, 9), "REQUEST_FAILED", kNoV2},
      {"v2", State::kReady, v2("odom", kBad, 9), "INVALID_INPUT", "pose_frame must be map or base_link, input: odom"},
      {"v2", State::kReady, v2("map", kBad, 9), "INVALID_INPUT", "navigate_to_goal_v2 invalid pose" + kWhy},
      {"v2", State::kReady, v2("map", kGoal, 9, kNanF), "INVALID_INPUT", "navigate_to_goal_v2 invalid timeout: nan"},
      {"v2", State::kReady, v2("map", kGoal, 1.51), "INVALID_INPUT",
       "velocity limit values must be in range [0.05, 1.5]"},
      {"velocity", State::kNothing, velocity(0, kNan), "SERVICE_NOT_READY", kNotReady},
      {"velocity", State::kNoClients, velocity(0, kNan), "REQUEST_FAILED", kNoV2},
      {"velocity", State::kReady, velocity(0, kNan), "INVALID_INPUT",
       "navigate_with_velocity duration_s must be greater than 0"},
      {"velocity", State::kReady, velocity(kNan, 1), "INVALID_INPUT",
       "navigate_with_velocity duration_s must be greater than 0"},
      {"velocity", State::kReady, velocity(1, kNan), "INVALID_INPUT",
       "navigate_with_velocity velocity and duration_s must be finite"},
      {"velocity", State::kReady, velocity(kInf, 1), "INVALID_INPUT",
       "navigate_with_velocity velocity and duration_s must be finite"},
      {"stop", State::kNothing, as_text([](auto& n) { return n.stop_navigation(); }), "SERVICE_NOT_READY", kNotReady},
      {"relocalize", State::kNothing, as_text([](auto& n) { return n.relocalize(kBad); }), "REQUEST_FAILED",
       "create init pose pub failed"},
      {"relocalize", State::kNoService, as_text([](auto& n) { return n.relocalize(kBad); }), "SERVICE_NOT_READY",
       kNotReady},
      {"relocalize", State::kReady, as_text([](auto& n) { return n.relocalize(kBad); }), "INVALID_INPUT",
       "relocalize invalid pose" + kWhy},
      {"arrival", State::kNothing, [](auto& n) { return n.check_goal_arrival() ? "yes" : "no"; }, "no", kNotReady},
  };
}

std::vector<Row> task_rows() {
  const auto trajectory = [](size_t count, float ratio, const char* frame, const Pose& pose = kGoal) {
    return message_of(
        [=](auto& n) { return n.navigate_along_trajectory(std::vector<Pose>(count, pose), frame, ratio); });
  };
  const auto waypoints = [](size_t count, const char* frame, const Waypoint& point = {kGoal}) {
    return message_of(
        [=](auto& n) { return n.navigate_through_waypoints(std::vector<Waypoint>(count, point), frame); });
  };
  const auto target = [](float ratio, const char* frame, const Pose& pose) {
    return message_of([=](auto& n) { return n.set_navigation_target(pose, frame, ratio); });
  };
  const auto reachable = [](const Pose& goal, const Pose& start) {
    return [=](NorvikNavigation& n) { return std::string(n.check_path_reachability(goal, start) ? "yes" : "no"); };
  };
  const std::string not_ready = "navigation service not ready";
  const std::string ratio = "invalid speed_ratio";
  Waypoint bad_tolerance{kGoal};
  bad_tolerance.ori_err = kNan;
  return {
      {"trajectory", State::kNoService, trajectory(0, 0, "odom"), not_ready, kNotReady},
      {"trajectory", State::kReady, trajectory(0, 0, "odom"), "trajectory list is empty",
       "The trajectory list is empty. Navigation aborted! "},
      {"trajectory", State::kReady, trajectory(1, 0, "odom", kBad), ratio, "invalid speed_ratio: 0"},
      {"trajectory", State::kReady, trajectory(1, 1.01F, "odom", kBad), ratio, "invalid speed_ratio: 1.01"},
      {"trajectory", State::kReady, trajectory(1, kNanF, "odom", kBad), ratio, "invalid speed_ratio: nan"},
      {"trajectory", State::kReady, trajectory(1, 1, "odom", kBad), "invalid frame", "invalid frame: odom"},
      {"trajectory", State::kReady, trajectory(1, 1, "map", kBad), "invalid pose", "invalid pose at index 0" + kWhy},
      {"trajectory", State::kReady, trajectory(100'000, 1, "map"), "navigation request is too large", ""},
      {"waypoints", State::kNoService, waypoints(0, "odom"), not_ready, kNotReady},
      {"waypoints", State::kReady, waypoints(0, "odom"), "waypoints list is empty",
       "The waypoints list is empty. Navigation aborted! "},
      {"waypoints", State::kReady, waypoints(1, "odom", {kBad}), "invalid frame", "invalid frame: odom"},
      {"waypoints", State::kReady, waypoints(1, "base_link", {kBad}), "invalid waypoint",
       "invalid waypoint at index 0" + kWhy},
      {"waypoints", State::kReady, waypoints(1, "base_link", bad_tolerance), "invalid waypoint", ""},
      {"target", State::kNoService, target(0, "odom", kBad), not_ready, kNotReady},
      {"target", State::kReady, target(0, "odom", kBad), ratio, "invalid speed_ratio: 0"},
      {"target", State::kReady, target(1, "odom", kBad), "invalid frame", "invalid frame: odom"},
      {"target", State::kReady, target(1, "map", kBad), "invalid pose", "set_navigation_target invalid pose" + kWhy},
      {"reachable", State::kNoService, reachable(kBad, kBad), "no", kNotReady},
      {"reachable", State::kReady, reachable(kBad, kGoal), "no", "check_path_reachability invalid pose" + kWhy},
      {"reachable", State::kReady, reachable(kGoal, kBad), "no", "check_path_reachability invalid pose" + kWhy},
      {"attach", State::kNothing, as_text([](auto& n) { return n.attach_box_to_link({}); }), "INVALID_INPUT",
       "invalid attach box input"},
      {"attach", State::kNothing, as_text([](auto& n) {
         return n.attach_box_to_link({{1, 1, 1}, {}, 1, "a"});
       }),
       "REQUEST_FAILED", "pns client is not initialized"},
      {"attach", State::kNoService, as_text([](auto& n) {
         return n.attach_box_to_link({{1, 1, 1}, {}, 1, "a"});
       }),
       "SERVICE_NOT_READY", kNotReady},
      {"detach", State::kNothing, as_text([](auto& n) { return n.detach_box_from_link(1); }), "REQUEST_FAILED",
       "pns client is not initialized"},
      {"detach", State::kNoService, as_text([](auto& n) { return n.detach_box_from_link(1); }), "SERVICE_NOT_READY",
       kNotReady},
  };
}

std::vector<Row> configuration_rows() {
  const auto velocity = [](double value) {
    return as_text([=](auto& n) { return n.set_navigation_velocity_limit({value, 1, 1}); });
  };
  const auto limits = [](double vel, double acc, double jerk) {
    return as_text([=](auto& n) { return n.set_navigation_kinematics_limits({1, 1, vel}, {1, 1, acc}, {1, 1, jerk}); });
  };
  const auto threshold = [](double value) {
    return as_text([=](auto& n) { return n.set_navigation_arrival_threshold({1, 1, value}); });
  };
  const auto timeout = [](double value) { return as_text([=](auto& n) { return n.set_navigation_timeout(value); }); };
  const std::string bad_threshold = "navigation arrival threshold values must be in range [0.03, 2.0]";
  return {
      {"velocity limit", State::kNothing, velocity(9), "SERVICE_NOT_READY", kNotReady},
      {"velocity limit", State::kNoClients, velocity(9), "REQUEST_FAILED", kNoConfig},
      {"velocity limit", State::kReady, velocity(0.04), "INVALID_INPUT",
       "velocity limit values must be in range [0.05, 1.5]"},
      {"velocity limit", State::kReady, velocity(kNan), "INVALID_INPUT",
       "velocity limit values must be in range [0.05, 1.5]"},
      {"limits", State::kReady, limits(1.51, 7.51, 37.51), "INVALID_INPUT",
       "velocity limit values must be in range [0.05, 1.5]"},
      {"limits", State::kReady, limits(1.5, 7.51, 37.51), "INVALID_INPUT",
       "acceleration limit values must be in range [0.05, 7.5]"},
      {"limits", State::kReady, limits(1.5, 7.5, 37.51), "INVALID_INPUT",
       "jerk limit values must be in range [0.05, 37.5]"},
      {"threshold", State::kNothing, threshold(0.029), "INVALID_INPUT", bad_threshold},
      {"threshold", State::kNothing, threshold(2.01), "INVALID_INPUT", bad_threshold},
      {"threshold", State::kNothing, threshold(2.0), "SERVICE_NOT_READY", kNotReady},
      {"threshold", State::kNoClients, threshold(2.0), "REQUEST_FAILED", kNoConfig},
      {"time-out", State::kNothing, timeout(kInf), "SERVICE_NOT_READY", kNotReady},
      {"time-out", State::kNoClients, timeout(kInf), "REQUEST_FAILED", kNoConfig},
      {"time-out", State::kReady, timeout(kInf), "INVALID_INPUT",
       "navigation config json has a number that is not finite"},
      {"dump", State::kNothing, as_text([](auto& n) { return n.dump_navigation_configs(); }), "SERVICE_NOT_READY",
       "dump navigation config failed, key: fov_area"},
      {"dump", State::kNoClients, as_text([](auto& n) { return n.dump_navigation_configs(); }), "REQUEST_FAILED",
       kNoConfig},
  };
}

template <typename Navigation>
void expect_refused(const Row& row) {
  SCOPED_TRACE(std::string(row.operation) + ", " + row.error);
  SdkLogCapture log;
  Navigation navigation;
  if (row.state == State::kNothing || row.state == State::kNoService) {
    navigation.set_service(PNSStatus::SERVICE_INITING);
  }
  if (row.state == State::kNothing || row.state == State::kNoClients) {
    navigation.drop_clients();
  }
  EXPECT_EQ(row.call(navigation), row.answer);
  EXPECT_TRUE(log.has_containing("error", row.error));
  EXPECT_EQ(navigation.requests(), 0U);
  EXPECT_EQ(navigation.get_navigation_status(), NaviTaskStatus::UNKNOWN);
}

TEST(Refusals, ComeInOrderAndSendNothing) {
  for (const auto& rows : {goal_rows(), task_rows(), configuration_rows()}) {
    for (const Row& row : rows) {
      expect_refused<FakeNavigation>(row);
      expect_refused<FakeNavigationR5>(row);
    }
  }
}

}  // namespace
}  // namespace norvik::test
