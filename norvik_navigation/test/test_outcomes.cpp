// What becomes of goals, tasks and boxes: by the answers to their requests, and by what the service reports of them.

#include <future>
#include <thread>

#include "fake_service.hpp"

namespace norvik::test {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Waits for what another thread is to do.
template <typename Condition>
bool eventually(Condition condition) {
  const auto deadline = steady_clock::now() + std::chrono::seconds(10);
  while (!condition() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(milliseconds(1));
  }
  return condition();
}

template <typename Call>
milliseconds time_of(Call call) {
  const auto start = steady_clock::now();
  call();
  return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

// An operation that is a request to the service, and its records.
struct Requested {
  const char* name;
  std::function<NaviStatus(sdk::NorvikNavigation&)> call;
  bool on_v2;
  int repetitions;
  std::string unanswered;
  std::string success;
  int32_t status_after_failure;
};

const std::vector<Requested>& requested() {
  // A handle's UNKNOWN is a failed request.
  const auto status_of = [](const sdk::TaskHandle& handle) {
    return handle.status == NaviTaskStatus::RUNNING ? NaviStatus::SUCCESS : NaviStatus::REQUEST_FAILED;
  };
  static const auto* const all = new std::vector<Requested>{
      {"goal", [](auto& n) { return n.navigate_to_goal(kGoal); }, false, 4, "navigation action timeout",
       "navi to goal send success ", NaviTaskStatus::RUNNING},
      {"goal in the background", [](auto& n) { return n.navigate_to_goal(kGoal, true, false); }, false, 4,
       "navigation action timeout", "navi to goal send success ", NaviTaskStatus::RUNNING},
      {"straight", [](auto& n) { return n.move_straight_to(kGoal); }, false, 4, "navigation action timeout",
       "move odom send success ", NaviTaskStatus::RUNNING},
      {"v2", [](auto& n) { return n.navigate_to_goal_v2(kGoal); }, true, 4, "navigate_to_goal_v2 request timeout",
       "navigate_to_goal_v2 send success ", NaviTaskStatus::RUNNING},
      {"velocity", [](auto& n) { return n.navigate_with_velocity(0, 0, 0, 1); }, true, 4,
       "navigate_with_velocity request timeout", "navigate_with_velocity send success ", NaviTaskStatus::RUNNING},
      {"trajectory", [=](auto& n) { return status_of(n.navigate_along_trajectory({kGoal})); }, true, 3,
       "navigation action timeout", "navigate_along_trajectory send success ", NaviTaskStatus::FAILED},
      {"waypoints", [=](auto& n) { return status_of(n.navigate_through_waypoints({{kGoal}})); }, true, 3,
       "navigation request timeout", "navigate_through_waypoints send success ", NaviTaskStatus::FAILED},
      {"target", [=](auto& n) { return status_of(n.set_navigation_target(kGoal)); }, true, 4,
       "navigation target timeout", "set_navigation_target send success ", NaviTaskStatus::FAILED},
      {"attach",
       [](auto& n) {
         return n.attach_box_to_link({{1, 1, 1}, {}, 1, "a"});
       },
       false, 4, "attach box request timeout", "", NaviTaskStatus::UNKNOWN},
      {"detach", [](auto& n) { return n.detach_box_from_link(1); }, false, 4, "detach box request timeout", "",
       NaviTaskStatus::UNKNOWN},
  };
  return *all;
}

template <typename Navigation>
class Attempts : public ::testing::Test {
 protected:
  // Requests of the operation itself that went out.
  static size_t sent(const Navigation& navigation, const Requested& operation) {
    return operation.on_v2 ? navigation.plan_v2_client->calls().size()
                           : navigation.plan_client->calls().size() - navigation.stops();
  }
};
using Models = ::testing::Types<FakeNavigation, FakeNavigationR5>;
TYPED_TEST_SUITE(Attempts, Models);

TYPED_TEST(Attempts, AreRepeatedWhileTheServiceRefuses) {
  for (const Requested& operation : requested()) {
    for (int refusals = 0; refusals <= operation.repetitions + 1; ++refusals) {
      SCOPED_TRACE(operation.name + std::string(", refusals ") + std::to_string(refusals));
      SdkLogCapture log;
      TypeParam navigation;
      navigation.refusals = refusals;
      const bool succeeds = refusals <= operation.repetitions;
      EXPECT_EQ(operation.call(navigation), succeeds ? NaviStatus::SUCCESS : NaviStatus::REQUEST_FAILED);
      EXPECT_EQ(this->sent(navigation, operation), size_t(std::min(refusals, operation.repetitions) + 1));
      EXPECT_EQ(operation.success.empty() || log.has_containing("info", operation.success),
                operation.success.empty() || succeeds);
      EXPECT_EQ(navigation.get_navigation_status(),
                succeeds ? int32_t{NaviTaskStatus::SUCCESS} : operation.status_after_failure);
      EXPECT_EQ(log.has("error", "navigation send fail, retry = 3"),
                refusals > 0 && operation.name == std::string("straight"));
    }
  }
}

TYPED_TEST(Attempts, AreNotRepeatedWithoutAnAnswer) {
  for (const Requested& operation : requested()) {
    SCOPED_TRACE(operation.name);
    SdkLogCapture log;
    TypeParam navigation;
    navigation.answers = false;
    EXPECT_EQ(operation.call(navigation), NaviStatus::REQUEST_FAILED);
    EXPECT_EQ(this->sent(navigation, operation), 1U);
    EXPECT_EQ(log.texts("error"), std::vector<std::string>{operation.unanswered});
    EXPECT_EQ(navigation.get_navigation_status(), operation.status_after_failure);
  }
}

TEST(Stops, AreRepeatedToo) {
  SdkLogCapture log;
  FakeNavigation navigation;
  EXPECT_EQ(navigation.stop_navigation(), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation.stops(), 1);
  navigation.stop_answer = NavigationResponse::FAILED;
  EXPECT_EQ(navigation.stop_navigation(), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation.stops(), 6);
  navigation.plan_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(navigation.stop_navigation(), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation.stops(), 7);
  EXPECT_EQ(log.texts("error"), std::vector<std::string>{"navigation stop timeout"});
}

TEST(SimpleGoals, AreWatchedForTheirArrivalOnly) {
  for (const bool straight : {false, true}) {
    FakeNavigation navigation;
    const auto go = [&](float timeout) {
      return straight ? navigation.move_straight_to(kGoal, true, timeout)
                      : navigation.navigate_to_goal(kGoal, true, true, timeout, false);
    };
    navigation.status = NaviTaskStatus::FAILED;
    NaviStatus result{};
    const milliseconds time = time_of([&] { result = go(0.0F); });
    EXPECT_EQ(result, NaviStatus::TIMEOUT);
    EXPECT_GE(time, milliseconds(100));
    EXPECT_LT(time, milliseconds(400));
    EXPECT_EQ(navigation.stops(), 1);

    navigation.status = NaviTaskStatus::RUNNING;
    auto call = std::async(std::launch::async, go, 30.0F);
    EXPECT_TRUE(eventually([&] { return navigation.plan_client->calls().size() == 3; }));
    navigation.stop_navigation();  // Does not end it.
    EXPECT_EQ(call.wait_for(milliseconds(250)), std::future_status::timeout);
    navigation.report(navigation.prefix() + "Navi2", NaviTaskStatus::SUCCESS);
    EXPECT_EQ(call.get(), NaviStatus::SUCCESS);
    EXPECT_EQ(navigation.stops(), 2);
  }
}

TEST(SimpleGoals, InTheBackgroundAreStoppedWhenTheirTimeIsOver) {
  SdkLogCapture log;
  FakeNavigation navigation;
  navigation.status = NaviTaskStatus::RUNNING;
  EXPECT_EQ(navigation.api().navigate_to_goal(kGoal, true, false, 0.15F), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation.get_navigation_status(), NaviTaskStatus::RUNNING);
  EXPECT_TRUE(eventually([&] { return navigation.stops() == 1; }));
  EXPECT_TRUE(log.has("error", "navigation timeout"));
}

TEST(Goals, StopTheOneThatRuns) {
  FakeNavigation navigation;
  navigation.status = NaviTaskStatus::RUNNING;
  EXPECT_EQ(navigation.api().navigate_to_goal(kGoal, true, false), NaviStatus::SUCCESS);
  const auto time = time_of([&] { navigation.api().navigate_with_velocity(0, 0, 0, 1); });
  EXPECT_GE(time, milliseconds(1000));
  EXPECT_EQ(navigation.stops(), 1);
  EXPECT_EQ(navigation.plan_client->calls().back().request.task_id(), navigation.prefix() + "Navi1");
  EXPECT_EQ(navigation.plan_v2_client->calls().size(), 1U);
  navigation.api().set_navigation_target(kGoal);  // A target does not.
  EXPECT_EQ(navigation.stops(), 1);
}

TEST(WatchedGoals, EndAsTheServiceSays) {
  const struct {
    int32_t status;
    NaviStatus result;
    const char* text;
  } rows[] = {{NaviTaskStatus::SUCCESS, NaviStatus::SUCCESS, "navigate_to_goal_v2 finished with SUCCESS"},
              {NaviTaskStatus::FAILED, NaviStatus::FAILED, "navigate_to_goal_v2 finished with FAILED"},
              {NaviTaskStatus::INTERRUPTED, NaviStatus::SUCCESS, "navigate_to_goal_v2 finished with INTERRUPTED"}};
  for (const auto& row : rows) {
    SdkLogCapture log;
    FakeNavigation navigation;
    navigation.status = row.status;
    EXPECT_EQ(navigation.api().navigate_to_goal_v2(kGoal), row.result);
    EXPECT_TRUE(log.has("info", row.text));
    EXPECT_EQ(navigation.stops(), 1);
    EXPECT_EQ(navigation.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, false), NaviStatus::SUCCESS);
    const std::string finished =
        "navigate_to_goal_v2 async monitor finished, status: " + std::to_string(static_cast<int>(row.result));
    EXPECT_TRUE(eventually([&] { return log.has("info", finished); }));
  }
}

TEST(WatchedGoals, AreLeftToAnotherTaskThatTakesOver) {
  SdkLogCapture log;
  FakeNavigation navigation;
  navigation.status = NaviTaskStatus::RUNNING;
  auto call = std::async(std::launch::async, [&] {
    return navigation.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, true, -1);
  });
  ASSERT_TRUE(eventually([&] { return log.has_containing("info", "navigate_to_goal_v2 send success"); }));
  EXPECT_EQ(call.wait_for(milliseconds(150)), std::future_status::timeout);
  navigation.report("OTHERSNavi3", NaviTaskStatus::RUNNING);
  EXPECT_EQ(call.get(), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation.stops(), 0);
  EXPECT_TRUE(log.has("warning", "navigate_to_goal_v2 task overridden, expected task_id: " + navigation.prefix() +
                                     "Navi3, active task_id: OTHERSNavi3, current status: 1"));
}

TEST(WatchedGoals, EndWithAStopFromAnotherThread) {
  for (const bool blocking : {true, false}) {
    SdkLogCapture log;
    FakeNavigation navigation;
    navigation.status = NaviTaskStatus::RUNNING;
    auto call = std::async(std::launch::async, [&] {
      return navigation.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, blocking, -1);
    });
    ASSERT_TRUE(eventually([&] { return log.has_containing("info", "navigate_to_goal_v2 send success"); }));
    if (blocking) {
      std::this_thread::sleep_for(milliseconds(20));  // Into its wait.
    } else {
      EXPECT_EQ(call.get(), NaviStatus::SUCCESS);
    }
    EXPECT_LT(time_of([&] { EXPECT_EQ(navigation.stop_navigation(), NaviStatus::SUCCESS); }), milliseconds(400));
    EXPECT_EQ(navigation.stops(), 2);
    EXPECT_TRUE(log.has("warning", "navigate_to_goal_v2 monitor stopped"));
    if (blocking) {
      EXPECT_EQ(call.get(), NaviStatus::FAILED);
    } else {
      EXPECT_TRUE(log.has("info", "navigate_to_goal_v2 async monitor finished, status: 1"));
    }
  }
}

TEST(WatchedGoals, EndBeforeTheNextOneIsSent) {
  SdkLogCapture log;
  FakeNavigation navigation;
  navigation.status = NaviTaskStatus::RUNNING;
  EXPECT_EQ(navigation.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, false), NaviStatus::SUCCESS);
  int stops_before = -1;
  navigation.plan_v2_client->reply = [&](const sdk::NaviPlanRequest&) {
    stops_before = navigation.stops();
    return make_reply(NavigationResponse::SUCCESS);
  };
  navigation.api().navigate_through_waypoints({{kGoal}});
  EXPECT_EQ(stops_before, 1);
}

TEST(Configuration, CutsTheReportsOfAGoalOff) {
  FakeNavigation navigation;
  navigation.status = NaviTaskStatus::RUNNING;
  navigation.api().navigate_to_goal(kGoal, true, false);
  EXPECT_EQ(navigation.set_navigation_timeout(5), NaviStatus::SUCCESS);
  navigation.report(navigation.prefix() + "Navi1", NaviTaskStatus::SUCCESS);
  EXPECT_EQ(navigation.get_navigation_status(), NaviTaskStatus::RUNNING);
  EXPECT_EQ(navigation.get_navigation_target_status(navigation.prefix() + "Navi1").status, NaviTaskStatus::SUCCESS);
}

TEST(Configuration, AcceptsItsBounds) {
  FakeNavigation navigation;
  EXPECT_EQ(navigation.set_navigation_velocity_limit({0.05, 1.5, 1}), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation.set_navigation_kinematics_limits({0.05, 1.5, 1}, {0.05, 7.5, 1}, {0.05, 37.5, 1}),
            NaviStatus::SUCCESS);
  EXPECT_EQ(navigation.set_navigation_kinematics_config_map({}), NaviStatus::INVALID_INPUT);
  EXPECT_EQ(navigation.get_navigation_config(""), NaviStatus::INVALID_INPUT);
}

TEST(Configuration, LooksAtTheIdOfTheReplyAndAtItsContent) {
  const std::string deep = std::string(50'000, '[') + std::string(50'000, ']');
  const struct {
    std::string reply;  // "ID" stands for the id that is expected.
    NaviStatus set, get;
    std::vector<std::string> errors;  // Beginnings: of setting, then of getting.
  } rows[] = {
      {"none",
       NaviStatus::REQUEST_FAILED,
       NaviStatus::REQUEST_FAILED,
       {"SetNaviTimeout request timeout", "get navigation config response null, key: key"}},
      {"task_id: 'x' status: SUCCESS configs { config_msg: '1' }",
       NaviStatus::REQUEST_FAILED,
       NaviStatus::REQUEST_FAILED,
       {"SetNaviTimeout response task_id mismatch, request: PREFIXSetNaviTimeout1, response: x",
        "get navigation config response task_id mismatch, request: PREFIXGetNaviConfig2, response: x"}},
      {"task_id: 'ID' status: FAILED",
       NaviStatus::SUCCESS,
       NaviStatus::REQUEST_FAILED,
       {"get navigation config response has no configs, key: key"}},
      {"task_id: 'ID' configs { type: 'a' }",
       NaviStatus::SUCCESS,
       NaviStatus::REQUEST_FAILED,
       {"navigation config response configs is empty, key: key"}},
      {"task_id: 'ID' configs { config_msg: '{\"a\":' }",
       NaviStatus::SUCCESS,
       NaviStatus::REQUEST_FAILED,
       {"parse navigation config json failed: [json.exception.parse_error.101]"}},
      {"task_id: 'ID' configs { config_msg: '" + deep + "' }",
       NaviStatus::SUCCESS,
       NaviStatus::REQUEST_FAILED,
       {"parse navigation config json failed: too many levels"}},
      {"task_id: 'ID' configs { config_msg: '{\"a\": [1, 2]}' }", NaviStatus::SUCCESS, NaviStatus::SUCCESS, {}},
      {"task_id: 'ID' configs { config_map { } }", NaviStatus::SUCCESS, NaviStatus::SUCCESS, {}},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.reply.substr(0, 60));
    SdkLogCapture log;
    FakeNavigation navigation;
    navigation.config_client->reply = [&](const sdk::NaviConfigRequest& request) {
      std::string text = row.reply;
      if (const auto at = text.find("ID"); at != std::string::npos) {
        text.replace(at, 2, request.task_id());
      }
      auto reply = std::make_shared<sdk::NaviConfigReply>();
      return google::protobuf::TextFormat::ParseFromString(text, reply.get()) ? reply : nullptr;
    };
    EXPECT_EQ(navigation.set_navigation_timeout(1), row.set);
    EXPECT_EQ(navigation.get_navigation_config("key"), row.get);
    const auto errors = log.texts("error");
    ASSERT_EQ(errors.size(), row.errors.size());
    for (size_t i = 0; i < errors.size(); ++i) {
      const std::string error = without_prefix(errors[i], navigation.prefix());
      EXPECT_EQ(error.substr(0, row.errors[i].size()), row.errors[i]);
    }
  }
}

TEST(Configuration, OfOneKeyThatFailsLeavesTheOthers) {
  SdkLogCapture log;
  FakeNavigation navigation;
  const auto good = navigation.config_client->reply;
  navigation.config_client->reply = [&](const sdk::NaviConfigRequest& request) {
    return request.configs().config_msg().find("navi_timeout") == std::string::npos ? good(request) : nullptr;
  };
  EXPECT_EQ(navigation.dump_navigation_configs(), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation.config_client->calls().size(), 4U);
  EXPECT_TRUE(log.has("error", "dump navigation config failed, key: navi_timeout"));
  EXPECT_TRUE(log.has("info", "navigation config json: {\"a\":1}"));
}

TEST(Tasks, CanBePolled) {
  FakeNavigation navigation;
  navigation.status = -1;
  const auto handle = navigation.api().navigate_along_trajectory({kGoal});
  EXPECT_EQ(handle.task_id, navigation.prefix() + "Navi1");
  EXPECT_EQ(handle.message, "accepted");
  const auto expect = [&](const std::string& id, int32_t status, const std::string& message) {
    const auto found = navigation.get_navigation_target_status(id);
    EXPECT_EQ(found.task_id, id);
    EXPECT_EQ(found.status, status);
    EXPECT_EQ(found.message, message);
  };
  expect(handle.task_id, NaviTaskStatus::UNKNOWN, "");
  navigation.report(handle.task_id, NaviTaskStatus::CLOSE_TO_OBSTACLE, "a chair");
  expect(handle.task_id, NaviTaskStatus::CLOSE_TO_OBSTACLE, "a chair");
  navigation.report(handle.task_id, 8, "news");
  expect(handle.task_id, NaviTaskStatus::UNKNOWN, "news");
  expect("OTHERSNavi1", NaviTaskStatus::UNKNOWN, "task not found");
  expect("", NaviTaskStatus::UNKNOWN, "task_id is empty");

  navigation.refusals = -1;
  const auto refused = navigation.api().set_navigation_target(kGoal);
  EXPECT_EQ(refused.status, NaviTaskStatus::UNKNOWN);
  EXPECT_EQ(refused.message, "busy");
  expect(refused.task_id, NaviTaskStatus::FAILED, "busy");
  navigation.plan_v2_client->reply = [](const auto&) { return make_reply(NavigationResponse::UNKNOWN); };
  EXPECT_EQ(navigation.api().set_navigation_target(kGoal).message, "navigation target submit failed");
  EXPECT_EQ(navigation.api().navigate_through_waypoints({{kGoal}}).message, "navigation request submit failed");
  navigation.plan_v2_client->reply = [](const auto&) { return nullptr; };
  EXPECT_EQ(navigation.api().navigate_through_waypoints({{kGoal}}).message, "navigation request timeout");
}

TEST(Reachability, IsWhatTheServiceEvaluates) {
  SdkLogCapture log;
  for (const bool available : {true, false}) {
    FakeNavigation navigation;
    navigation.plan_client->reply = [&](const sdk::NaviRequest& request) {
      navigation.evaluate(request.task_id(), available);
      navigation.evaluate("OTHERSEvaluate1", !available);
      return make_reply(NavigationResponse::SUCCESS);
    };
    EXPECT_EQ(navigation.check_path_reachability(kGoal, {}), available);
  }
  EXPECT_TRUE(log.has("info", "evaluate response received 1"));

  FakeNavigation navigation;
  navigation.refusals = -1;
  EXPECT_FALSE(navigation.check_path_reachability(kGoal, {}));
  EXPECT_EQ(navigation.plan_client->calls().size(), 5U);
  EXPECT_EQ(log.texts("error"), std::vector<std::string>{"evaluate request send error"});
}

TEST(Boxes, OnLinksEndAsReported) {
  const struct {
    int32_t status;
    NaviStatus result;
  } rows[] = {{NaviTaskStatus::SUCCESS, NaviStatus::SUCCESS},
              {NaviTaskStatus::FAILED, NaviStatus::REQUEST_FAILED},
              {NaviTaskStatus::CLOSE_TO_OBSTACLE, NaviStatus::REQUEST_FAILED}};
  for (const auto& row : rows) {
    FakeNavigation navigation;
    navigation.status = row.status;
    EXPECT_EQ(navigation.api().attach_box_to_link({{1, 1, 1}, {}, 1, "a"}), row.result);
    EXPECT_EQ(navigation.detach_box_from_link(1), row.result);
  }
}

// Five seconds each, side by side.
TEST(Waits, HaveTheirLimits) {
  SdkLogCapture log;
  FakeNavigation watched, asked, refused, attached;
  watched.status = asked.status = attached.status = NaviTaskStatus::RUNNING;
  asked.evaluates = false;
  refused.status = -1;
  refused.refusals = 1;  // Then it accepts, which does not help.
  const auto limited = [](auto call) {
    return std::async(std::launch::async, [call] {
      const auto time = time_of(call);
      EXPECT_GT(time, milliseconds(4990));
      EXPECT_LT(time, milliseconds(6000));
    });
  };
  std::vector<std::future<void>> calls;
  calls.push_back(limited([&] {
    EXPECT_EQ(watched.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, true, 0.0F), NaviStatus::TIMEOUT);
  }));
  calls.push_back(limited([&] { EXPECT_FALSE(asked.check_path_reachability(kGoal, {})); }));
  calls.push_back(limited([&] { EXPECT_FALSE(refused.check_path_reachability(kGoal, {})); }));
  calls.push_back(limited([&] {
    EXPECT_EQ(attached.api().attach_box_to_link({{1, 1, 1}, {}, 1, "a"}), NaviStatus::TIMEOUT);
  }));
  for (auto& call : calls) {
    call.get();
  }
  EXPECT_EQ(watched.stops(), 1);
  EXPECT_LE(refused.plan_client->calls().size(), 51U);
  EXPECT_TRUE(log.has("error", "navigate_to_goal_v2 sdk monitor timeout"));
  EXPECT_TRUE(log.has("error", "attach box timeout"));
  EXPECT_EQ(log.texts("error").size(), 4U);
}

}  // namespace
}  // namespace norvik::test
