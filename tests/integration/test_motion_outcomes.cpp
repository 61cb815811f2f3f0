// Every operation of NorvikMotion against the simulated robot's planner, and everything that can befall it.

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <thread>

#include "live/motion_operations.hpp"

namespace norvik::test {
namespace {

constexpr const char* kPlans = "motion_planning_service";
constexpr const char* kData = "motion_planning_service/get_data";
constexpr const char* kKinematics = "motion_planning_service/kinematic";

// What befalls the planner.
struct Mishap {
  std::string name;
  std::string MotionOutcomes::*outcome;
  std::function<void(LiveRobot&)> before;
  std::function<void(LiveRobot&, int tasks)> meanwhile;  // `tasks` requests are on their way.
  bool passes = true;                                    // Once the faults are cleared.
};

void planner_fault(LiveRobot& live, const char* fault) {
  live.control({{"op", "planner"}, {"fault", fault}, {"count", -1}});
}
auto planner(const char* fault) {
  return [fault](LiveRobot& live) { planner_fault(live, fault); };
}

void lose_replies(LiveRobot& live) {
  for (const char* service : {kPlans, kData, kKinematics}) {
    live.control({{"op", "reply"}, {"service", service}, {"fault", "lose"}, {"count", -1}});
  }
}

void kill_when_heard(LiveRobot& live, int tasks) {
  EXPECT_TRUE(eventually([&] { return live.heard(kPlans) >= tasks; }));
  live.simulator().kill_hard();
}

std::vector<Mishap> mishaps() {
  return {{"Absent", &MotionOutcomes::absent, [](LiveRobot& live) { live.simulator().terminate(); }, {}, false},
          {"Lost", &MotionOutcomes::lost, planner("never"), kill_when_heard, false},
          {"ReplyLost", &MotionOutcomes::reply_lost, lose_replies, {}},
          {"NoTime", &MotionOutcomes::no_time, planner("initing"), {}},
          {"Unended", &MotionOutcomes::unended, planner("never"), {}},
          {"Failed", &MotionOutcomes::failed, planner("failed"), {}},
          {"Collision", &MotionOutcomes::collision, planner("collision"), {}},
          {"InitFailed", &MotionOutcomes::init_failed, planner("init_failed"), {}}};
}

struct Row {
  Setup setup;
  Mishap mishap;
};
std::ostream& operator<<(std::ostream& stream, const Row& row) { return stream << row.mishap.name; }

class MotionMishaps : public ::testing::TestWithParam<Row> {};

TEST_P(MotionMishaps, AreToldToTheCaller) {
  const Mishap& mishap = GetParam().mishap;
  LiveMotion live(GetParam().setup);
  ASSERT_TRUE(live.start());
  const int heard = live.live().heard(kPlans);
  mishap.before(live.live());
  std::this_thread::sleep_for(std::chrono::milliseconds(300));  // Until a status has told it; three are sent meanwhile.
  int tasks = 0;
  std::vector<std::future<std::string>> answers;
  for (const MotionOperation& operation : motion_operations()) {
    const std::string& expected = operation.outcomes.*mishap.outcome;
    tasks += operation.outcomes.lost == "TIMEOUT" ? 1 : 0;
    answers.push_back(std::async(expected.empty() ? std::launch::deferred : std::launch::async, [&] {
      return expected.empty() ? "" : operation.call(live.motion(), live.reachable());
    }));
  }
  if (mishap.meanwhile) {
    mishap.meanwhile(live.live(), heard + tasks);
  }
  for (size_t i = 0; i < answers.size(); ++i) {
    const MotionOperation& operation = motion_operations()[i];
    EXPECT_EQ(answers[i].get(), operation.outcomes.*mishap.outcome) << operation.name;
  }
  if (mishap.passes) {
    live.live().control({{"op", "clear"}});
    EXPECT_TRUE(eventually([&] { return live.motion().clear_obstacle() == sdk::MotionStatus::SUCCESS; }));
  } else {
    EXPECT_TRUE(eventually(
        [&] { return std::get<0>(live.motion().get_motion_plan_config()) == sdk::MotionStatus::DATA_FETCH_FAILED; }));
  }
}

std::vector<Row> rows() {
  std::vector<Row> result;
  for (const Setup& setup : {kK2, kR5}) {
    for (const Mishap& mishap : mishaps()) {
      result.push_back({setup, mishap});
    }
  }
  return result;
}
INSTANTIATE_TEST_SUITE_P(All, MotionMishaps, ::testing::ValuesIn(rows()),
                         [](const auto& test) { return test.param.mishap.name + test.param.setup.name; });

class Motion : public ::testing::TestWithParam<Setup> {};

TEST_P(Motion, AcceptedAndRefused) {
  LiveMotion live(GetParam());
  ASSERT_TRUE(live.start());
  for (const MotionOperation& operation : motion_operations()) {
    SCOPED_TRACE(operation.name);
    EXPECT_EQ(operation.call(live.motion(), live.reachable()), operation.outcomes.accepted);
    if (operation.refused) {
      const int heard = live.live().heard(kPlans);
      EXPECT_EQ(operation.refused(live.motion(), live.reachable()), operation.refusal);
      EXPECT_EQ(live.live().heard(kPlans), heard);
    }
  }
}

TEST_P(Motion, NotInitialised) {
  auto& motion = sdk::NorvikMotion::get_instance(GetParam().type);
  const std::vector<double> pose = {0.3, 0.2, 0.9, 0, 0, 0, 1};
  for (const MotionOperation& operation : motion_operations()) {
    if (!operation.outcomes.uninitialised.empty()) {
      EXPECT_EQ(operation.call(motion, {pose, pose}), operation.outcomes.uninitialised) << operation.name;
    }
  }
}

// A planner that never starts is given up after ten seconds.
TEST_P(Motion, StartIsGivenUp) {
  const TempDir folder;
  std::ofstream(folder / "faults") << R"([{"op":"planner","fault":"initing"}])";
  LiveRobot live(GetParam(), {"--faults", folder / "faults"});
  ASSERT_TRUE(live.start());
  auto& motion = sdk::NorvikMotion::get_instance(GetParam().type);
  const auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(motion.init());
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
  EXPECT_FALSE(motion.is_valid());
}

INSTANTIATE_TEST_SUITE_P(All, Motion, ::testing::Values(kK2, kR5), [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test
