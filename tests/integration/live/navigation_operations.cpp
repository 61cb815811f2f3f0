#include "live/navigation_operations.hpp"

#include <stdlib.h>
#include <gtest/gtest.h>

#include <cmath>

#include <norvik_sdk/call_log.hpp>
#include <norvik_sdk/navigation_helpers.hpp>

namespace norvik::test {

using sdk::NaviStatus;
using sdk::NaviTaskStatus;
using sdk::NorvikNavigation;
using sdk::Pose;

namespace {

constexpr char kPlan[] = "/norvik/pns/navigation_plan";
constexpr char kPlanV2[] = "/norvik/pns/navigation_plan_v2";
constexpr char kConfig[] = "/norvik/pns/get_set_config";
constexpr char kNotReady[] = "SERVICE_NOT_READY";
constexpr char kFailed[] = "REQUEST_FAILED";
constexpr char kInvalid[] = "INVALID_INPUT";
constexpr float kShort = 0.5F;
constexpr float kLong = 60.0F;

// A few steps from where the robot starts, each time another one.
Pose near_goal(NorvikNavigation& navigation) {
  Pose goal;
  goal.x = navigation.get_current_pose().x > 0.15 ? 0.0 : 0.3;
  return goal;
}

// Some eight seconds away at 0.5 m/s.
Pose far_goal() {
  Pose goal;
  goal.x = -3.5;
  goal.y = 1.0;
  return goal;
}

Pose no_pose() {
  Pose pose;
  pose.x = NAN;
  return pose;
}

template <typename Call>
auto status_of(Call call) {
  return [call](NorvikNavigation& navigation) { return sdk::to_string(call(navigation)); };
}

// "accepted", or why not.
template <typename Call>
auto message_of(Call call) {
  return [call](NorvikNavigation& navigation) { return call(navigation).message; };
}

NavigationOperation goal_operation() {
  const auto to = [](bool far, bool blocking, float timeout) {
    return status_of(
        [=](auto& n) { return n.navigate_to_goal(far ? far_goal() : near_goal(n), true, blocking, timeout); });
  };
  return {"navigate_to_goal",
          kPlan,
          {to(false, false, kLong), "SUCCESS", ""},
          NavigationAttempt{status_of([](auto& n) { return n.navigate_to_goal(no_pose()); }), kInvalid,
                            "navigate_to_goal invalid pose"},
          kNotReady,
          "SUCCESS",
          kFailed,
          NavigationAttempt{to(false, false, kLong), kFailed, "navigation action timeout"},
          NavigationAttempt{to(false, true, kLong), "SUCCESS", ""},
          NavigationAttempt{to(true, true, kShort), "TIMEOUT", ""},
          NavigationAttempt{to(true, true, 3.0F), "TIMEOUT", ""},
          NavigationAttempt{to(true, true, 3.0F), "TIMEOUT", ""}};
}

NavigationOperation straight_operation() {
  const auto ahead = [](double distance, bool blocking, float timeout) {
    return status_of([=](auto& n) {
      Pose goal;
      goal.x = distance;
      return n.move_straight_to(goal, blocking, timeout);
    });
  };
  return {"move_straight_to",
          kPlan,
          {ahead(0.05, false, 15.0F), "SUCCESS", ""},
          NavigationAttempt{status_of([](auto& n) { return n.move_straight_to(no_pose()); }), kInvalid,
                            "move_straight_to invalid pose"},
          kNotReady,
          "SUCCESS",
          kFailed,
          NavigationAttempt{ahead(0.05, false, 2.0F), kFailed, "navigation action timeout"},
          NavigationAttempt{ahead(-0.2, true, 15.0F), "SUCCESS", ""},
          NavigationAttempt{ahead(-1.5, true, kShort), "TIMEOUT", ""},
          {},
          {}};
}

NavigationOperation watched_operation() {
  const auto to = [](bool far, bool blocking, float timeout) {
    return status_of([=](auto& n) {
      return n.navigate_to_goal_v2(far ? far_goal() : near_goal(n), {{0.5, 0.5, 0.8}}, "map", true, blocking, timeout);
    });
  };
  return {"navigate_to_goal_v2",
          kPlanV2,
          {to(false, false, kLong), "SUCCESS", ""},
          NavigationAttempt{status_of([](auto& n) {
                              return n.navigate_to_goal_v2({}, {{1, 1, 1}}, "odom");
                            }),
                            kInvalid, "pose_frame must be map or base_link, input: odom"},
          kNotReady,
          "SUCCESS",
          kFailed,
          NavigationAttempt{to(false, false, kLong), kFailed, "navigate_to_goal_v2 request timeout"},
          NavigationAttempt{to(false, true, kLong), "SUCCESS", ""},
          // The service's own time is over first.
          NavigationAttempt{to(true, true, kShort), "FAILED", ""},
          NavigationAttempt{to(true, true, kLong), "FAILED", "navigate_to_goal_v2 monitor stopped"},
          NavigationAttempt{to(true, true, kLong), "SUCCESS", "navigate_to_goal_v2 task overridden"}};
}

// One that hands something to a service and returns.
NavigationOperation plain(const std::string& name, const std::string& service, const NavigationAttempt& accepted,
                          const std::optional<NavigationAttempt>& refused, const std::string& unheard,
                          const std::string& silent_text, const std::string& refused_once = "SUCCESS") {
  NavigationOperation operation{name, service, accepted, refused, unheard, {}, {}, {}, {}, {}, {}, {}};
  operation.refused_once = refused_once;
  operation.refused_always = kFailed;
  operation.silent = NavigationAttempt{accepted.call, kFailed, silent_text};
  return operation;
}

// The same for tasks, which tell a message.
NavigationOperation task(const std::string& name, const NavigationAttempt& accepted, const NavigationAttempt& refused,
                         const std::string& silent_text) {
  auto operation =
      plain(name, kPlanV2, accepted, refused, "navigation service not ready", silent_text, accepted.answer);
  operation.refused_always.reset();  // The service's own words.
  operation.silent->answer = silent_text;
  return operation;
}

std::vector<NavigationOperation> task_operations() {
  const sdk::BoxInfo box{{0.1F, 0.1F, 0.1F}, {}, 3, "base_link"};
  const auto ahead = [](double x) {
    Pose pose;
    pose.x = x;
    return pose;
  };
  return {
      task("set_navigation_target",
           {message_of([=](auto& n) { return n.set_navigation_target(ahead(0.1), "base_link"); }), "accepted", ""},
           {message_of([](auto& n) { return n.set_navigation_target({}, "map", 0.0F); }), "invalid speed_ratio",
            "invalid speed_ratio: 0"},
           "navigation target timeout"),
      task("navigate_through_waypoints",
           {message_of([=](auto& n) { return n.navigate_through_waypoints({{ahead(0.1)}}, "base_link"); }), "accepted",
            ""},
           {message_of([](auto& n) { return n.navigate_through_waypoints({}); }), "waypoints list is empty",
            "The waypoints list is empty. Navigation aborted! "},
           "navigation request timeout"),
      task("navigate_along_trajectory",
           {message_of([=](auto& n) {
              return n.navigate_along_trajectory({ahead(0.05), ahead(0.1)}, "base_link");
            }),
            "accepted", ""},
           {message_of([](auto& n) { return n.navigate_along_trajectory({}); }), "trajectory list is empty",
            "The trajectory list is empty. Navigation aborted! "},
           "navigation action timeout"),
      plain("navigate_with_velocity", kPlanV2,
            {status_of([](auto& n) { return n.navigate_with_velocity(0.0, 0.0, 0.1, 0.2); }), "SUCCESS", ""},
            NavigationAttempt{status_of([](auto& n) { return n.navigate_with_velocity(0, 0, 0, 0); }), kInvalid,
                              "navigate_with_velocity duration_s must be greater than 0"},
            kNotReady, "navigate_with_velocity request timeout"),
      plain("stop_navigation", kPlan, {status_of([](auto& n) { return n.stop_navigation(); }), "SUCCESS", ""}, {},
            kNotReady, "navigation stop timeout"),
      plain("attach_box_to_link", kPlan, {status_of([=](auto& n) { return n.attach_box_to_link(box); }), "SUCCESS", ""},
            NavigationAttempt{status_of([](auto& n) { return n.attach_box_to_link({}); }), kInvalid,
                              "invalid attach box input"},
            kNotReady, "attach box request timeout"),
      plain("detach_box_from_link", kPlan,
            {status_of([=](auto& n) {
               n.attach_box_to_link(box);
               return n.detach_box_from_link(box.box_tag);
             }),
             "SUCCESS", ""},
            {}, kNotReady, "detach box request timeout"),
  };
}

NavigationOperation evaluation_operation() {
  const auto call = [](const Pose& goal) {
    return [goal](NorvikNavigation& n) { return std::string(n.check_path_reachability(goal, {}) ? "true" : "false"); };
  };
  auto operation = plain("check_path_reachability", kPlan, {call(far_goal()), "true", ""},
                         NavigationAttempt{call(no_pose()), "false", "check_path_reachability invalid pose"}, "false",
                         "evaluate request send error", "false");
  operation.refused_always = "false";
  operation.silent->answer = "false";
  return operation;
}

// The reply to a setting is taken for its id; what it says is not looked at.
std::vector<NavigationOperation> configuration_operations() {
  const auto setting = [](const std::string& name, const NavigationAttempt& accepted, const NavigationAttempt& refused,
                          const std::string& unheard, const std::string& silent_text) {
    auto operation = plain(name, kConfig, accepted, refused, unheard, silent_text);
    operation.refused_always = "SUCCESS";
    return operation;
  };
  const auto limits = [](double velocity) {
    return status_of([=](auto& n) { return n.set_navigation_velocity_limit({velocity, 1.0, 1.0}); });
  };
  return {
      setting("set_navigation_velocity_limit", {limits(0.5), "SUCCESS", ""},
              {limits(0.04), kInvalid, "velocity limit values must be in range [0.05, 1.5]"}, kNotReady,
              "set navigation kinematics config request timeout"),
      setting("set_navigation_timeout",
              {status_of([](auto& n) { return n.set_navigation_timeout(60.0); }), "SUCCESS", ""},
              {status_of([](auto& n) { return n.set_navigation_timeout(INFINITY); }), kInvalid,
               "navigation config json has a number that is not finite"},
              kNotReady, "SetNaviTimeout request timeout"),
      setting("set_navigation_arrival_threshold",
              {status_of([](auto& n) {
                 return n.set_navigation_arrival_threshold({0.05, 0.05, 0.05});
               }),
               "SUCCESS", ""},
              {status_of([](auto& n) {
                 return n.set_navigation_arrival_threshold({0.02, 0.05, 0.05});
               }),
               kInvalid, "navigation arrival threshold values must be in range [0.03, 2.0]"},
              kNotReady, "SetPosThreshold request timeout"),
  };
}

// The box service is one of its own: it is there when the navigation is not.
std::vector<NavigationOperation> box_operations() {
  const auto add = [](float side) {
    return status_of([=](auto& n) { return n.add_bounding_box({{side, 0.2F, 0.2F}, far_goal(), 9, "map"}); });
  };
  const auto of_box = [](const std::string& name, const std::string& service, const NavigationAttempt& accepted,
                         const std::optional<NavigationAttempt>& refused, const std::string& silent_text) {
    return plain(name, service, accepted, refused, "SUCCESS", silent_text, kFailed);
  };
  return {
      of_box("add_bounding_box", "norvik_fusion_add_box", {add(0.2F), "SUCCESS", ""},
             NavigationAttempt{add(0.0F), kInvalid, "invalid bounding box input"}, "add bounding box response invalid"),
      of_box("remove_bounding_box", "norvik_fusion_remove_box",
             {status_of([](auto& n) { return n.remove_bounding_box(9); }), "SUCCESS", ""}, {},
             "remove bounding box response invalid")};
}

void append(std::vector<NavigationOperation>& operations, const std::vector<NavigationOperation>& more) {
  operations.insert(operations.end(), more.begin(), more.end());
}

const std::filesystem::path& use_as_home(const std::filesystem::path& path) {
  ::setenv("HOME", path.c_str(), 1);
  return path;
}

std::vector<std::string> all_arguments(const Setup& setup, const std::vector<std::string>& more) {
  std::vector<std::string> arguments = {"--model", setup.model};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

}  // namespace

LiveNavigation::LiveNavigation(const Setup& setup, const std::vector<std::string>& arguments)
    : simulator_(all_arguments(setup, arguments)),
      navigation_((use_as_home(home_.path()), NorvikNavigation::get_instance(setup.type))) {}

bool LiveNavigation::start(bool ready) {
  return simulator_.start() && navigation_.init() && (!ready || sdk::wait_until_ready(navigation_, 20.0));
}

void LiveNavigation::control(const nlohmann::json& command) {
  const auto answer = control_.send(command);
  EXPECT_EQ(answer.value("ok", false), true) << command << " " << answer;
}

void LiveNavigation::disturb(const std::string& service, const std::string& fault, int count) {
  control({{"op", "reply"}, {"service", service}, {"fault", fault}, {"count", count}});
}

std::vector<NavigationOperation> navigation_operations() {
  std::vector<NavigationOperation> operations = {goal_operation(), watched_operation(), straight_operation()};
  append(operations, task_operations());
  append(operations, box_operations());
  operations.push_back(evaluation_operation());
  append(operations, configuration_operations());
  return operations;
}

void expect_attempt(NorvikNavigation& navigation, const NavigationAttempt& attempt) {
  sdk::CallLog log;
  EXPECT_EQ(attempt.call(navigation), attempt.answer);
  std::string all;
  bool told = attempt.text.empty();
  for (const sdk::CallRecord& record : log.records()) {
    told = told || record.text.find(attempt.text) != std::string::npos;
    all += "\n  " + record.text;
  }
  EXPECT_TRUE(told) << "no record " << attempt.text << ", but" << all;
}

}  // namespace norvik::test
