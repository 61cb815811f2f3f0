#include <gtest/gtest.h>

#include "impl/system/robot_model_check.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using sdk::MachineType;
using system_proto::mission_manager_proto::OnboardConfig;

TEST(RobotModel, AnotherThanTheFacadesIsRecordedOnce) {
  SdkLogCapture log;
  sdk::RobotModelCheck check;
  const auto warns = [&](OnboardConfig::RobotType type) {
    log.clear();
    check.see(type);
    return log.has("warning",
                   "the robot is a R5, this program uses the facade of K2: groups, joints and controllers "
                   "differ");
  };
  EXPECT_FALSE(warns(OnboardConfig::R5)) << "before the facade is known";
  check.expect(MachineType::K2);
  EXPECT_FALSE(warns(OnboardConfig::K2));
  EXPECT_FALSE(warns(OnboardConfig::Q7)) << "not judged";
  EXPECT_TRUE(warns(OnboardConfig::R5));
  EXPECT_FALSE(warns(OnboardConfig::R5));
  EXPECT_FALSE(warns(OnboardConfig::K2));
  EXPECT_TRUE(warns(OnboardConfig::R5));
}

}  // namespace
}  // namespace norvik::test
