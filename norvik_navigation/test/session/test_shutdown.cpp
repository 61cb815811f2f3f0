// What becomes of calls and goals when the program is told to stop. A shutdown is final, so every case runs in a
// process of its own.

#include <algorithm>
#include <ostream>
#include <thread>

#include "../fake_service.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr auto kWithin = 200ms;

struct Waiting {
  std::string name;
  std::function<std::string(FakeNavigation&, bool blocking)> call;
  std::string result;
  std::string record;
  bool is_goal;
};

std::ostream& operator<<(std::ostream& stream, const Waiting& waiting) { return stream << waiting.name; }

std::vector<Waiting> waiting_calls() {
  const std::string early = "navigation ended early, the program is told to stop";
  return {
      {"navigate_to_goal",
       [](auto& n, bool blocking) { return sdk::to_string(n.api().navigate_to_goal(kGoal, true, blocking)); },
       "TIMEOUT", early, true},
      {"move_straight_to",
       [](auto& n, bool blocking) { return sdk::to_string(n.api().move_straight_to(kGoal, blocking)); }, "TIMEOUT",
       early, true},
      {"navigate_to_goal_v2",
       [](auto& n, bool blocking) {
         return sdk::to_string(n.api().navigate_to_goal_v2(kGoal, {1, 1, 1}, "map", true, blocking, -1));
       },
       "FAILED", "navigate_to_goal_v2 monitor stopped", true},
      {"attach_box_to_link",
       [](auto& n, bool) {
         return sdk::to_string(n.api().attach_box_to_link({{1, 1, 1}, {}, 1, "a"}));
       },
       "TIMEOUT", "attach box timeout", false},
      {"check_path_reachability", [](auto& n, bool) { return std::to_string(n.check_path_reachability(kGoal, kGoal)); },
       "0", "evaluate request send error", false}};
}

class Shutdown : public ::testing::TestWithParam<Waiting> {
 protected:
  Shutdown() {
    navigation_.status = NaviTaskStatus::RUNNING;
    navigation_.evaluates = false;
  }

  static void shut_down() {
    ovimux::AsyncShutdown();
    ovimux::WaitForShutdown();
  }

  size_t sent() const { return navigation_.plan_client->calls().size() + navigation_.plan_v2_client->calls().size(); }

  SdkLogCapture log_;
  FakeNavigation navigation_;
};

TEST_P(Shutdown, EndsTheCallAndStopsItsGoal) {
  steady_clock::time_point asked;
  steady_clock::duration took{};
  std::thread caller([&] {
    EXPECT_EQ(GetParam().call(navigation_, true), GetParam().result);
    took = steady_clock::now() - asked;
  });
  while (sent() == 0) {
    std::this_thread::sleep_for(1ms);
  }
  std::this_thread::sleep_for(50ms);  // Into its wait, or not yet: the outcome is the same.
  asked = steady_clock::now();
  shut_down();
  caller.join();
  EXPECT_LT(took, kWithin);
  EXPECT_TRUE(log_.has("error", GetParam().record) || log_.has("warning", GetParam().record));
  EXPECT_EQ(navigation_.stops(), GetParam().is_goal ? 1 : 0);
  EXPECT_EQ(log_.has("info", "stop navigation action success."), GetParam().is_goal);
}

// For those that can be left to the background.
class BackgroundGoal : public Shutdown {};

TEST_P(BackgroundGoal, GoesOn) {
  EXPECT_EQ(GetParam().call(navigation_, false), "SUCCESS");
  shut_down();
  EXPECT_EQ(navigation_.stops(), 0);
}

std::vector<Waiting> goals() {
  auto calls = waiting_calls();
  calls.erase(std::remove_if(calls.begin(), calls.end(), [](const Waiting& call) { return !call.is_goal; }),
              calls.end());
  return calls;
}

const auto kName = [](const auto& call) { return call.param.name; };
INSTANTIATE_TEST_SUITE_P(Calls, Shutdown, ::testing::ValuesIn(waiting_calls()), kName);
INSTANTIATE_TEST_SUITE_P(Goals, BackgroundGoal, ::testing::ValuesIn(goals()), kName);

}  // namespace
}  // namespace norvik::test
