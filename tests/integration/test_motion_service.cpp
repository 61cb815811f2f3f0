// What the planner of the simulated robot does over the wire beyond one answer: its scene, and motions that it carries
// out.

#include <gtest/gtest.h>

#include <fstream>
#include <future>
#include <set>

#include "live/motion_operations.hpp"

namespace norvik::test {
namespace {

using sdk::MotionStatus;

class MotionService : public ::testing::TestWithParam<Setup> {
 protected:
  void SetUp() override { ASSERT_TRUE(live_.start()); }

  sdk::NorvikMotion& motion() { return live_.motion(); }
  bool lists(const std::set<std::string>& names) {
    const auto list = motion().get_built_object_list();
    return std::set<std::string>(list.begin(), list.end()) == names;
  }
  MotionStatus add(const std::string& name, const std::string& kind, const std::string& key = "",
                   double resolution = 0.05) {
    return motion().add_obstacle(name, kind, {4, 0, 1, 0, 0, 0, 1}, {0.1, 0.1, 0.1}, key, "world", "", {}, {}, {}, 0.0,
                                 resolution);
  }

  // Starts a motion of the left arm that takes some seconds, and waits until it moves.
  std::future<MotionStatus> start_motion() {
    auto goal = std::make_shared<sdk::JointStates>();
    goal->chain = "left_arm";
    goal->joint_positions = {-1.2, -1.5, 0.0, -2.0, 0.0, 0.0, 0.0};
    auto options = std::make_shared<sdk::Parameter>();
    options->immediate_execute = true;
    auto call = std::async(std::launch::async,
                           [=] { return std::get<0>(motion().motion_plan(goal, nullptr, nullptr, true, options)); });
    EXPECT_TRUE(eventually([this] { return !live_.live().state()["at_rest"].get<bool>(); }));
    return call;
  }

  LiveMotion live_{GetParam()};
  TempDir folder_;
};

TEST_P(MotionService, HoldsObjectsOfEveryKind) {
  std::ofstream(folder_ / "tile.obj") << "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n";
  std::ofstream(folder_ / "dots.pcd") << "VERSION .7\nFIELDS x y z\nSIZE 4 4 4\nTYPE F F F\nCOUNT 1 1 1\nWIDTH 2\n"
                                         "HEIGHT 1\nVIEWPOINT 0 0 0 1 0 0 0\nPOINTS 2\nDATA ascii\n0 0 0\n0 0.5 1\n";
  const std::string mesh = folder_ / "tile.obj";
  const std::string cloud = folder_ / "dots.pcd";
  EXPECT_EQ(add("box", "box"), MotionStatus::SUCCESS);
  EXPECT_EQ(add("ball", "sphere"), MotionStatus::SUCCESS);
  EXPECT_EQ(add("pole", "cylinder"), MotionStatus::SUCCESS);
  EXPECT_EQ(add("tile", "mesh", mesh), MotionStatus::SUCCESS);
  EXPECT_EQ(add("dots", "point_cloud", cloud), MotionStatus::SUCCESS);
  EXPECT_EQ(add("seen", "depth_image", "front_head"), MotionStatus::SUCCESS);
  EXPECT_TRUE(eventually([&] { return lists({"box", "ball", "pole", "tile", "dots", "seen"}); }));

  EXPECT_EQ(add("none", "mesh", folder_ / "none.stl"), MotionStatus::FAULT);
  EXPECT_EQ(add("none", "point_cloud", mesh), MotionStatus::FAULT);
  EXPECT_EQ(add(std::string(257, 'n'), "box"), MotionStatus::FAULT);
  EXPECT_EQ(motion().remove_obstacle("none"), MotionStatus::FAULT);
  EXPECT_EQ(motion().remove_obstacle("pole"), MotionStatus::SUCCESS);
  EXPECT_TRUE(eventually([&] { return lists({"box", "ball", "tile", "dots", "seen"}); }));
  EXPECT_EQ(
      motion().attach_target_object("cup", "sphere", {0, 0, 0.2, 0, 0, 0, 1}, {0.02, 0, 0}, "", "left_arm", "ee_base"),
      MotionStatus::SUCCESS);
  EXPECT_EQ(motion().clear_obstacle(), MotionStatus::SUCCESS);
  EXPECT_TRUE(eventually([&] { return lists({}); }));
  EXPECT_EQ(motion().get_attached_object_list(), std::vector<std::string>{"cup"});
}

// The names are in every status, and a status never gets too large.
TEST_P(MotionService, RefusesNamesThatNoStatusCouldHold) {
  size_t added = 0;
  MotionStatus status = MotionStatus::SUCCESS;
  for (; added < 200 && status == MotionStatus::SUCCESS; added += status == MotionStatus::SUCCESS ? 1 : 0) {
    status = add(std::to_string(1000 + added) + std::string(250, 'n'), "box");
  }
  EXPECT_EQ(status, MotionStatus::FAULT);
  EXPECT_GT(added, 100U);
  EXPECT_TRUE(eventually([&] { return motion().get_built_object_list().size() == added; }));
  EXPECT_EQ(motion().clear_obstacle(), MotionStatus::SUCCESS);
}

TEST_P(MotionService, MotionsEndAsFailedWhenSomethingStopsThem) {
  const auto& stops = std::vector<std::function<void()>>{
      [this] {
        live_.live().control({{"op", "error"}, {"group", "left_arm"}, {"code", 0x30001}, {"description", "hot"}});
      },
      [this] { EXPECT_EQ(to_text(live_.live().robot().stop_trajectory_execution()), "SUCCESS"); }};
  for (const auto& stop : stops) {
    auto call = start_motion();
    stop();
    EXPECT_EQ(call.get(), MotionStatus::FAULT);
    live_.live().control({{"op", "clear"}});
    EXPECT_TRUE(eventually([this] { return live_.live().state()["at_rest"].get<bool>(); }));
  }
}

TEST_P(MotionService, TellsTheOutcomeOfResultsThatAreWrong) {
  const auto ask = [this] { return motion().get_jacobian("left_arm"); };
  for (const char* fault : {"no_result", "wrong_size", "wrong_shape"}) {
    SCOPED_TRACE(fault);
    live_.live().control({{"op", "planner"}, {"fault", fault}});
    EXPECT_EQ(std::get<0>(ask()), MotionStatus::FAULT);
    const auto [status, rows] = ask();
    EXPECT_EQ(status, MotionStatus::SUCCESS);
    ASSERT_EQ(rows.size(), 6U);
    EXPECT_EQ(rows[5].size(), 7U);
  }
  live_.live().control({{"op", "planner"}, {"fault", "no_result"}});
  EXPECT_EQ(std::get<0>(motion().forward_kinematics("left_arm_end_effector_mount_link")), MotionStatus::FAULT);
  live_.live().control({{"op", "planner"}, {"fault", "wrong_size"}});
  EXPECT_EQ(std::get<0>(motion().check_collision({})), MotionStatus::FAULT);
  for (const char* fault : {"twice", "status_first"}) {  // These change nothing.
    live_.live().control({{"op", "planner"}, {"fault", fault}});
    EXPECT_EQ(add("box", "box"), MotionStatus::SUCCESS) << fault;
    EXPECT_EQ(motion().clear_obstacle(), MotionStatus::SUCCESS) << fault;
  }
}

INSTANTIATE_TEST_SUITE_P(All, MotionService, ::testing::Values(kK2, kR5),
                         [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace norvik::test
