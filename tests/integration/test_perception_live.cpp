// The perception facade against the simulated robot: each situation of the table that docs/operations.md shows.

#include <gtest/gtest.h>

#include <cstdlib>

#include <norvik_sdk/call_log.hpp>
#include <norvik_sdk/norvik_perception.hpp>

#include "live/live_robot.hpp"
#include "live/perception_outcomes.hpp"

namespace norvik::test {
namespace {

class PerceptionLive : public ::testing::TestWithParam<Setup> {};

void expect_content(const PerceptionOutcome& outcome, const DetectionResult& result) {
  size_t points = 0;
  for (const auto& cloud : result.point_clouds) {
    points += cloud->size();
  }
  EXPECT_GE(points, outcome.least_points);
  EXPECT_LE(points, outcome.most_points);
  EXPECT_EQ(!result.poses.empty(), outcome.has_poses);
  EXPECT_EQ(!result.instance_mask.empty(), outcome.has_mask);
  for (const auto& pose : result.poses) {
    EXPECT_EQ(pose == Eigen::Matrix4f::Identity(), outcome.poses_are_identity);
  }
  EXPECT_EQ(result.frame_id, "head_left_camera_color_optical_frame");
  EXPECT_GT(result.timestamp_ns, 0);
}

void expect_outcome(sdk::NorvikPerception& perception, const PerceptionOutcome& outcome) {
  const PerceptionModule module = outcome.foundation ? FOUNDATION_STEREO : LIGHT_STEREO;
  DetectionResult result;
  const sdk::CallLog log;
  EXPECT_EQ(perception.run_once(module), outcome.run_once);
  EXPECT_EQ(perception.wait_for_new_result(module, outcome.wait_for_new_result ? 10.0 : 1.0),
            outcome.wait_for_new_result);
  EXPECT_EQ(perception.get_latest_result(module, result), outcome.get_latest_result);
  EXPECT_EQ(log.text().empty(), outcome.record.empty()) << log.text();
  EXPECT_NE(log.text().find(outcome.record), std::string::npos) << log.text();
  if (outcome.get_latest_result) {
    expect_content(outcome, result);
  }
}

TEST_P(PerceptionLive, TellsWhatTheTableSays) {
  const TempDir home;
  ::setenv("HOME", home.path().c_str(), 1);
  SimulatorProcess simulator({"--model", GetParam().model});
  ASSERT_TRUE(simulator.start());
  auto& perception = sdk::NorvikPerception::get_instance(GetParam().type);
  ASSERT_TRUE(perception.init({LIGHT_STEREO}));
  SimulatorControl control;
  for (const PerceptionOutcome& outcome : perception_outcomes()) {
    SCOPED_TRACE(outcome.situation);
    ASSERT_TRUE(control.send({{"op", "clear"}})["ok"]);
    if (!outcome.fault.empty()) {
      ASSERT_TRUE(control.send_text(outcome.fault)["ok"]);
    }
    expect_outcome(perception, outcome);
    while (perception.wait_for_new_result(LIGHT_STEREO, 0.5)) {  // What repeated requests brought.
    }
  }
  ASSERT_TRUE(simulator.restart());  // It has loaded nothing.
  ASSERT_TRUE(eventually([&] { return perception.run_once(LIGHT_STEREO); }));
  EXPECT_FALSE(perception.wait_for_new_result(LIGHT_STEREO, 1.0));
}

INSTANTIATE_TEST_SUITE_P(Models, PerceptionLive, ::testing::Values(kK2, kR5),
                         [](const auto& setup) { return setup.param.name; });

}  // namespace
}  // namespace norvik::test
