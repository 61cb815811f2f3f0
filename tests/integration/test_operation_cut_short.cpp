// Blocking motions that end before they arrive, by a fault or because another thread stops them: the caller hears of
// it, and the robot stands where it was and says how far it still was from its target.

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

#include "live/operations.hpp"

namespace norvik::test {
namespace {

using sdk::TrajectoryControlStatus;

enum class Cause { kFault, kStop };

class CutShort : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  // Operations that can run at once, since each moves another group.
  static std::vector<std::vector<Operation>> rounds() {
    std::vector<std::vector<Operation>> result;
    std::map<std::string, size_t> used;
    for (const Operation& operation : operations_of(GetParam())) {
      if (operation.stopped) {
        const size_t round = used[operation.group]++;
        result.resize(std::max(result.size(), round + 1));
        result[round].push_back(operation);
      }
    }
    return result;
  }

  // A Sharpa hand is not among the groups of the whole-body controller.
  static bool is_apart(const Operation& operation) { return operation.endpoint.rfind("/endtool/", 0) == 0; }

  bool moves(const Operation& operation, const nlohmann::json& state) {
    if (is_apart(operation)) {
      sdk::DexhandState hand;
      live_.robot().get_dexhand_state(operation.group, hand, sdk::DexHandType::SHARPA);
      const auto& joints = hand.joint_state.joint_states;
      return !joints.empty() && joints[0].velocity != 0.0;
    }
    const auto& joints = state["groups"][operation.group]["joints"];
    return std::any_of(joints.begin(), joints.end(), [](const auto& joint) { return joint["velocity"] != 0.0; });
  }

  void cut(Cause cause, const std::vector<Operation>& operations) {
    EXPECT_TRUE(eventually([&] {
      const auto state = live_.state();
      return std::all_of(operations.begin(), operations.end(),
                         [&](const Operation& operation) { return moves(operation, state); });
    }));
    if (cause == Cause::kStop) {
      EXPECT_EQ(to_text(live_.robot().stop_trajectory_execution()), "SUCCESS");
      return;
    }
    for (const Operation& operation : operations) {
      EXPECT_TRUE(live_.make_faulty(operation.group));
    }
  }

  void expect_stand_still(Cause cause, const std::vector<Operation>& operations) {
    const auto state = live_.state();
    for (const Operation& operation : operations) {
      SCOPED_TRACE(operation.name);
      EXPECT_FALSE(moves(operation, state));
      if (!is_apart(operation) && operation.failed->told.answer == "FAULT" && operation.group != GetParam().chassis) {
        EXPECT_EQ(state["groups"][operation.group]["target_finished"], false);
        EXPECT_EQ(live_.robot().check_trajectory_execution_status({operation.group})[0],
                  cause == Cause::kFault ? TrajectoryControlStatus::TRAJECTORY_FAULT
                                         : TrajectoryControlStatus::TRAJECTORY_RUNNING);
      }
    }
  }

  bool forget_faults(const std::vector<Operation>& operations) {
    return live_.clear_faults() && eventually([&] {
             return std::none_of(operations.begin(), operations.end(), [&](const Operation& operation) {
               return live_.robot().check_trajectory_execution_status({operation.group})[0] ==
                      TrajectoryControlStatus::TRAJECTORY_FAULT;
             });
           });
  }

  void run(Cause cause) {
    for (const auto& operations : rounds()) {
      std::vector<std::pair<std::string, Attempt>> attempts;
      for (const Operation& operation : operations) {
        attempts.emplace_back(operation.name, cause == Cause::kFault ? *operation.failed : *operation.stopped);
      }
      expect_told_at_once(live_, attempts, [&] { cut(cause, operations); });
      expect_stand_still(cause, operations);
      ASSERT_TRUE(forget_faults(operations));
    }
  }

  LiveRobot live_{GetParam()};
};

TEST_P(CutShort, ByAFault) { run(Cause::kFault); }
TEST_P(CutShort, ByAnotherThread) { run(Cause::kStop); }

INSTANTIATE_TEST_SUITE_P(All, CutShort, ::testing::Values(kK2, kK2Linker, kR5),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test
