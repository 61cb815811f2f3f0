// The start of a session and all of its channels, over the wire. Every case is a process of its own.

#include <unistd.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>

#include <norvik_sdk/navigation_helpers.hpp>

#include "common_provider.hpp"
#include "support/temp_dir.hpp"
#include "wire_navigation.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;
using sdk::MachineType;
using sdk::NorvikNavigation;
using std::chrono::steady_clock;

template <typename Condition>
bool eventually(Condition condition) {
  const auto deadline = steady_clock::now() + 10s;
  while (!condition() && steady_clock::now() < deadline) {
    std::this_thread::sleep_for(10ms);
  }
  return condition();
}

class Start : public ::testing::TestWithParam<MachineType> {
 protected:
  Start() { ::setenv("HOME", home_.path().c_str(), 1); }
  static NorvikNavigation& navigation() { return NorvikNavigation::get_instance(GetParam()); }

  static std::thread shut_down_soon() {
    return std::thread([] {
      std::this_thread::sleep_for(300ms);
      ovimux::AsyncShutdown();
    });
  }

  TempDir home_;
};

TEST_P(Start, OpensEveryChannel) {
  const WireNavigation robot(NaviTaskStatus::SUCCESS);
  const auto begin = steady_clock::now();
  ASSERT_TRUE(navigation().init());
  EXPECT_LT(steady_clock::now() - begin, 3s);
  const std::string model = GetParam() == MachineType::K2 ? "k2" : "r5";
  EXPECT_TRUE(std::filesystem::exists(home_ / ("norvik_sdk_log/" + model)));
  ASSERT_TRUE(wait_until_ready(navigation()));
  ASSERT_TRUE(eventually([] { return navigation().get_current_pose().x == 4.0; }));
  ASSERT_TRUE(sdk::BaseStateProvider::get_base_state_func_);
  EXPECT_EQ(sdk::BaseStateProvider::get_base_state_func_(), (std::vector<double>{4, 0, 0, 0, 0, 0, 0}));

  EXPECT_EQ(navigation().navigate_to_goal(kGoal), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation().navigate_to_goal_v2(kGoal), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation().get_navigation_status(), NaviTaskStatus::SUCCESS);
  EXPECT_TRUE(navigation().check_path_reachability(kGoal, kGoal));
  const auto handle = navigation().navigate_through_waypoints({{kGoal}});
  EXPECT_TRUE(eventually(
      [&] { return navigation().get_navigation_target_status(handle.task_id).status == NaviTaskStatus::SUCCESS; }));
  EXPECT_EQ(navigation().add_bounding_box({{1, 2, 3}, {}, 5, "base_link"}), NaviStatus::SUCCESS);
  EXPECT_EQ(navigation().remove_bounding_box(5), NaviStatus::REQUEST_FAILED);
  const auto boxes = navigation().get_bounding_box();
  ASSERT_EQ(boxes.size(), 1U);
  EXPECT_EQ(boxes[0].box_tag, 5);
  EXPECT_EQ(navigation().relocalize(kGoal), NaviStatus::SUCCESS);
  EXPECT_TRUE(eventually([&] { return robot.has_initial_pose(); }));
  EXPECT_TRUE(navigation().init());
}

TEST_P(Start, GoesOnWithAServiceThatWentAndCameBack) {
  SdkLogCapture log;
  std::optional<WireNavigation> robot(NaviTaskStatus::SUCCESS);
  ASSERT_TRUE(navigation().init() && wait_until_ready(navigation()));
  robot.reset();
  // It was heard working; that it is gone shows with the next request, at once.
  EXPECT_TRUE(eventually([] { return navigation().get_bounding_box().empty(); }));
  const auto begin = steady_clock::now();
  EXPECT_EQ(navigation().navigate_to_goal(kGoal), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation().set_navigation_timeout(1.0), NaviStatus::REQUEST_FAILED);
  EXPECT_EQ(navigation().remove_bounding_box(1), NaviStatus::REQUEST_FAILED);
  EXPECT_LT(steady_clock::now() - begin, 2s);
  EXPECT_TRUE(log.has("error", "fusion remove box server is not connected"));
  robot.emplace(NaviTaskStatus::SUCCESS);
  EXPECT_TRUE(eventually([] { return navigation().set_navigation_timeout(1.0) == NaviStatus::SUCCESS; }));
  EXPECT_TRUE(eventually([] { return navigation().navigate_to_goal(kGoal) == NaviStatus::SUCCESS; }));
}

TEST_P(Start, FailsForGoodWithoutAChannel) {
  SdkLogCapture log;
  ovimux::OvimuxInit();
  const auto node = ovimux::CreateNode("other", "");
  ovimux::Qos large;
  large.payload_kind = ovimux::kLargePayloadKind;
  const auto taken = node->CreateWriter("/norvik/pns/status", large, true);  // One topic, one kind of envelope.
  ASSERT_TRUE(taken);
  std::thread end = shut_down_soon();  // Nobody is there to be waited for.
  EXPECT_FALSE(navigation().init());
  EXPECT_FALSE(navigation().init());
  end.join();
  EXPECT_TRUE(log.has("error", "create pns status reader /norvik/pns/status fail"));
  EXPECT_FALSE(wait_until_ready(navigation(), 0.0));
  EXPECT_EQ(navigation().navigate_to_goal(kGoal), NaviStatus::SERVICE_NOT_READY);
  EXPECT_FALSE(sdk::BaseStateProvider::get_base_state_func_);
}

TEST_P(Start, EndsSoonOnAShutdown) {
  std::thread end = shut_down_soon();
  const auto begin = steady_clock::now();
  EXPECT_TRUE(navigation().init());  // Its channels are there.
  EXPECT_LT(steady_clock::now() - begin, 900ms);
  end.join();
}

TEST_P(Start, AProcessExitsWhileGoalsAreWatched) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto exits = [] {
    const WireNavigation robot(NaviTaskStatus::RUNNING);
    const bool started =
        navigation().init() && wait_until_ready(navigation()) &&
        navigation().navigate_to_goal_v2(kGoal, {{1, 1, 1}}, "map", true, false, -1) == NaviStatus::SUCCESS;
    std::thread([] { navigation().move_straight_to(kGoal, true, 100.0F); }).detach();
    std::this_thread::sleep_for(200ms);  // Into its stop of the other one.
    ::alarm(5);                          // From here on the process has to end by itself.
    std::exit(started ? 7 : 1);
  };
  EXPECT_EXIT(exits(), ::testing::ExitedWithCode(7), "");
}

INSTANTIATE_TEST_SUITE_P(Models, Start, ::testing::Values(MachineType::K2, MachineType::R5),
                         [](const auto& model) { return model.param == MachineType::K2 ? "K2" : "R5"; });

}  // namespace
}  // namespace norvik::test
