#include "ovimux/core/warning_throttle.hpp"

#include <gtest/gtest.h>

namespace norvik::ovimux {
namespace {

TEST(WarningThrottle, LetsOneInTenSecondsThroughAndCountsTheOthers) {
  using std::chrono::seconds;
  const std::chrono::steady_clock::time_point start{seconds(1000)};
  WarningThrottle throttle;
  EXPECT_EQ("", throttle.admit(start));
  for (int i = 0; i < 10; ++i) {
    EXPECT_EQ(std::nullopt, throttle.admit(start + seconds(i)));
  }
  EXPECT_EQ(" (10 more within the last 10 s)", throttle.admit(start + seconds(10)));
  EXPECT_EQ(std::nullopt, throttle.admit(start + seconds(19)));
  EXPECT_EQ(" (1 more within the last 50 s)", throttle.admit(start + seconds(60)));
  EXPECT_EQ("", throttle.admit(start + seconds(90))) << "none was left out";
}

}  // namespace
}  // namespace norvik::ovimux
