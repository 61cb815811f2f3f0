// Every navigation operation against the simulated robot, on both models: what it answers when all is well, when it is
// refused by the library or the service, when nobody answers, and when others interfere.

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>

#include <norvik_sdk/navigation_helpers.hpp>

#include "live/navigation_operations.hpp"
#include "live/self_process.hpp"

namespace norvik::test {
namespace {

using namespace std::chrono_literals;

class NavigationOperations : public ::testing::TestWithParam<Setup> {
 protected:
  sdk::NorvikNavigation& navigation() { return live_.navigation(); }

  // The robot stands, and nothing of this process runs.
  void settle() { EXPECT_EQ(sdk::to_string(navigation().stop_navigation()), "SUCCESS"); }

  LiveNavigation live_{GetParam(), {}};
};

TEST_P(NavigationOperations, AreAcceptedAndRefused) {
  ASSERT_TRUE(live_.start());
  for (const NavigationOperation& operation : navigation_operations()) {
    SCOPED_TRACE(operation.name);
    expect_attempt(navigation(), operation.accepted);
    if (operation.refused) {
      expect_attempt(navigation(), *operation.refused);
    }
    if (operation.refused_once) {
      live_.disturb(operation.service, "reject", 1);
      expect_attempt(navigation(), {operation.accepted.call, *operation.refused_once, ""});
    }
    if (operation.refused_always) {
      live_.disturb(operation.service, "reject");
      expect_attempt(navigation(), {operation.accepted.call, *operation.refused_always, ""});
      live_.control({{"op", "clear"}});
    }
    settle();
  }
}

class SilentNavigation : public ::testing::TestWithParam<Setup> {};

TEST_P(SilentNavigation, IsNotReady) {
  const TempDir folder;
  const std::string faults = folder.path() / "faults.json";
  std::ofstream(faults) << R"([{"at_s":0,"op":"topic","topic":"/norvik/pns/status","fault":"silent"}])";
  LiveNavigation live(GetParam(), {"--faults", faults});
  ASSERT_TRUE(live.start(false));
  for (const NavigationOperation& operation : navigation_operations()) {
    SCOPED_TRACE(operation.name);
    expect_attempt(live.navigation(), {operation.accepted.call, operation.unheard, ""});
  }
}

// Side by side: each takes its five seconds.
TEST_P(NavigationOperations, HearOfALostAnswer) {
  ASSERT_TRUE(live_.start());
  for (const char* service : {"/norvik/pns/navigation_plan", "/norvik/pns/navigation_plan_v2",
                              "/norvik/pns/get_set_config", "norvik_fusion_add_box", "norvik_fusion_remove_box"}) {
    SCOPED_TRACE(service);
    live_.disturb(service, "lose");
    std::vector<std::future<void>> calls;
    for (const NavigationOperation& operation : navigation_operations()) {
      if (operation.silent && operation.service == service) {
        calls.push_back(std::async(std::launch::async, [this, operation] {
          SCOPED_TRACE(operation.name);
          expect_attempt(navigation(), *operation.silent);
        }));
      }
    }
    EXPECT_FALSE(calls.empty());
    for (auto& call : calls) {
      call.get();
    }
    live_.control({{"op", "clear"}});
  }
  settle();
}

TEST_P(NavigationOperations, WaitForWhatBecomesOfAGoal) {
  ASSERT_TRUE(live_.start());
  for (const NavigationOperation& operation : navigation_operations()) {
    SCOPED_TRACE(operation.name);
    for (const auto& attempt : {operation.arrived, operation.timed_out}) {
      if (attempt) {
        expect_attempt(navigation(), *attempt);
        settle();
      }
    }
    if (operation.stopped) {
      auto stop = std::async(std::launch::async, [this] {
        std::this_thread::sleep_for(1500ms);  // On its way.
        settle();
      });
      expect_attempt(navigation(), *operation.stopped);
      stop.get();
    }
    if (operation.overridden) {
      auto other = std::async(std::launch::async, [] {
        std::this_thread::sleep_for(1500ms);
        SelfProcess second(GetParam().name);
        EXPECT_EQ(second.wait_for_exit(30s), 0);
      });
      expect_attempt(navigation(), *operation.overridden);
      other.get();
      settle();
    }
  }
}

// Another program, which gives the robot a task of its own.
int play_other(const std::string& model) {
  auto& navigation = sdk::NorvikNavigation::get_instance(model == kK2.name ? kK2.type : kR5.type);
  if (!navigation.init() || !sdk::wait_until_ready(navigation)) return 2;
  return navigation.set_navigation_target({}, "base_link").message == "accepted" ? 0 : 3;
}

INSTANTIATE_TEST_SUITE_P(All, SilentNavigation, ::testing::Values(kK2, kR5),
                         [](const auto& test) { return test.param.name; });
INSTANTIATE_TEST_SUITE_P(All, NavigationOperations, ::testing::Values(kK2, kR5),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test

int main(int argc, char** argv) {
  if (const std::string role = norvik::test::role_of_this_process(); !role.empty()) {
    return norvik::test::play_other(role);
  }
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
