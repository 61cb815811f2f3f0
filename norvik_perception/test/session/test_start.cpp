// The start of a session, its waits, and the end of the process, over the wire. Every case is a process of its own.

#include <unistd.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>

#include <norvik_sdk/norvik_perception.hpp>

#include "support/sdk_log_capture.hpp"
#include "support/temp_dir.hpp"
#include "wire_perception.hpp"

namespace norvik::test {
namespace {

using sdk::MachineType;
using sdk::NorvikPerception;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

perception_proto::DetectionResult one_pose() {
  perception_proto::DetectionResult result;
  result.add_poses();
  return result;
}

class Start : public ::testing::TestWithParam<MachineType> {
 protected:
  Start() {
    ::setenv("HOME", home_.path().c_str(), 1);
    ovimux::OvimuxInit();
  }
  static NorvikPerception& perception() { return NorvikPerception::get_instance(GetParam()); }

  TempDir home_;
};

TEST_P(Start, MakesASessionThatWorks) {
  const WirePerception service(one_pose(), 1);  // The first load is answered at the second attempt.
  ASSERT_TRUE(perception().init({LIGHT_STEREO, FOUNDATION_STEREO}));
  EXPECT_TRUE(perception().init({static_cast<PerceptionModule>(7)}));  // Only the first counts.
  DetectionResult result;
  for (const PerceptionModule module : {LIGHT_STEREO, FOUNDATION_STEREO}) {
    EXPECT_FALSE(perception().get_latest_result(module, result));
    EXPECT_TRUE(perception().run_once(module));
    EXPECT_TRUE(perception().wait_for_new_result(module, 5.0));
    EXPECT_TRUE(perception().get_latest_result(module, result));
    EXPECT_EQ(result.poses.size(), 1U);
  }
  const auto commands = service.commands();
  ASSERT_EQ(commands.size(), 5U);
  EXPECT_EQ(commands[1].task_name(), "foundation_stereo");  // In the order of the set.
  EXPECT_EQ(commands[2].task_name(), "light_stereo");
  EXPECT_EQ(commands[3].command(), "run_once");
  EXPECT_EQ(commands[4].camera_name(),
            GetParam() == MachineType::K2 ? "head_f_camera_stereo" : "head_f_camera_J38_stereo");
}

TEST_P(Start, LoadsNothingForNoModules) {
  const WirePerception service(one_pose());
  ASSERT_TRUE(perception().init({}));
  EXPECT_TRUE(service.commands().empty());
  EXPECT_TRUE(perception().run_once(LIGHT_STEREO));  // Nobody reads what comes of it.
  EXPECT_FALSE(perception().wait_for_new_result(LIGHT_STEREO, 0.2));
}

TEST_P(Start, FailsForGoodForAModuleThatCannotBeLoaded) {
  const WirePerception service(one_pose());
  EXPECT_FALSE(perception().init({static_cast<PerceptionModule>(7)}));
  EXPECT_FALSE(perception().init({LIGHT_STEREO}));
  EXPECT_FALSE(perception().run_once(LIGHT_STEREO));
  EXPECT_TRUE(service.commands().empty());
}

TEST_P(Start, WaitsEndSoonOnAShutdown) {
  const WirePerception service(one_pose());
  ASSERT_TRUE(perception().init({}));
  auto wait = std::async(std::launch::async, [] { return perception().wait_for_new_result(LIGHT_STEREO, 60.0); });
  ASSERT_EQ(wait.wait_for(milliseconds(200)), std::future_status::timeout);
  const auto asked = steady_clock::now();
  ovimux::AsyncShutdown();
  EXPECT_FALSE(wait.get());
  EXPECT_LT(steady_clock::now() - asked, milliseconds(200));
}

TEST_P(Start, AProcessExitsWhileAThreadWaits) {
  ::testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto exits = [] {
    const WirePerception service(one_pose());
    const bool started = perception().init({LIGHT_STEREO});
    std::thread([] { perception().wait_for_new_result(LIGHT_STEREO, 60.0); }).detach();
    std::this_thread::sleep_for(milliseconds(200));  // Into its wait.
    ::alarm(5);                                      // From here on the process has to end by itself.
    std::exit(started ? 7 : 1);
  };
  EXPECT_EXIT(exits(), ::testing::ExitedWithCode(7), "");
}

INSTANTIATE_TEST_SUITE_P(Models, Start, ::testing::Values(MachineType::K2, MachineType::R5),
                         [](const auto& model) { return model.param == MachineType::K2 ? "K2" : "R5"; });

}  // namespace
}  // namespace norvik::test
