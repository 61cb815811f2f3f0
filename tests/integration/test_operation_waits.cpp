// Operations that can wait for the motion: until it is done, and until a motion that never ends has taken too long.

#include <gtest/gtest.h>

#include <map>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

class Waits : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  // All joints that can be: wheels and suction cups cannot.
  void freeze(const std::string& group) {
    const auto all = live_.state()["joints"].get<std::map<std::string, double>>();
    std::vector<std::string> joints;
    for (const auto& [joint, position] : all) {
      if (joint.rfind(group + "_", 0) == 0) {
        joints.push_back(joint);
      }
    }
    EXPECT_FALSE(joints.empty() && group != "right_dexhand") << group;
    live_.control({{"op", "freeze"}, {"joints", joints}});
  }

  LiveRobot live_{GetParam()};
};

double seconds_of(LiveRobot& live, const Attempt& attempt) {
  const auto start = std::chrono::steady_clock::now();
  expect_told(live, attempt);
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

TEST_P(Waits, UntilTheMotionIsDone) {
  for (const Operation& operation : operations_of(GetParam())) {
    if (operation.arrived) {
      SCOPED_TRACE(operation.name);
      const double at_once = seconds_of(live_, operation.accepted);
      const double waited = seconds_of(live_, *operation.arrived);
      EXPECT_GE(waited, 0.1);
      EXPECT_LT(at_once, waited);
      EXPECT_LT(waited, 3.0);
    }
  }
}

class EndlessWaits : public Waits {};

TEST_P(EndlessWaits, EndWithTheTimeout) {
  std::vector<std::pair<std::string, Attempt>> attempts;
  for (const Operation& operation : operations_of(GetParam())) {
    if (operation.timed_out) {
      attempts.push_back({operation.name, *operation.timed_out});
      freeze(operation.group);
    }
  }
  if (GetParam().name == kK2.name) {  // A hand outside the whole-body controller looks frozen when it is silent.
    live_.control({{"op", "topic"}, {"topic", "/endtool/sharpa_dexhand_R/joint"}, {"fault", "silent"}});
  }
  const bool commands_head = GetParam().name != kK2Linker.name;
  const int stops = live_.heard("tavrinox/wbcs/controller_server");
  expect_told_at_once(live_, attempts);
  // Of all of them only set_joint_positions stops what it has started.
  EXPECT_EQ(live_.heard("tavrinox/wbcs/controller_server") - stops, commands_head ? 1 : 0);

  ASSERT_TRUE(live_.clear_faults());
  EXPECT_EQ(to_text(live_.robot().set_joint_positions({0.5, 0.0}, {"head"}, {}, true, 1.0, 5.0)), "SUCCESS");
}

constexpr auto kName = [](const auto& test) { return test.param.name; };
INSTANTIATE_TEST_SUITE_P(All, Waits, ::testing::Values(kK2, kK2Linker, kK2Brainco, kR5), kName);
INSTANTIATE_TEST_SUITE_P(All, EndlessWaits, ::testing::Values(kK2, kK2Linker, kR5), kName);

}  // namespace
}  // namespace norvik::test
