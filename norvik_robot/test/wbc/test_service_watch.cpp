#include <gtest/gtest.h>

#include "impl/wbc/common/service_watch.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using std::chrono::seconds;

class Watch : public ::testing::Test {
 protected:
  // Whether a look after that many seconds, at that many servers, warns.
  bool warns(int second, unsigned servers) {
    log_.clear();
    servers_ = servers;
    watch_.look(sdk::ServiceWatch::Time(seconds(1000 + second)));
    return warned();
  }
  bool warned() const { return log_.has_containing("warning", "servers answer test/service"); }

  SdkLogCapture log_;
  unsigned servers_ = 1;
  sdk::ServiceWatch watch_{"test/service", [this] { return servers_; }};
};

TEST_F(Watch, WarnsAtTheStartOnlyOfSeveral) {
  watch_.look_first();
  EXPECT_FALSE(warned());
  servers_ = 2;
  watch_.look_first();
  EXPECT_TRUE(warned());
  EXPECT_FALSE(warns(10, 2));
}

TEST_F(Watch, TakesNoRestartForASecondServer) {
  EXPECT_FALSE(warns(0, 2));
  EXPECT_FALSE(warns(5, 2));
  EXPECT_FALSE(warns(6, 1));
  EXPECT_FALSE(warns(7, 2));
  EXPECT_FALSE(warns(12, 3));
  EXPECT_TRUE(warns(13, 3));
}

TEST_F(Watch, WarnsAgainAfterItHasFallenBack) {
  EXPECT_FALSE(warns(0, 2));
  EXPECT_TRUE(warns(6, 2));
  EXPECT_FALSE(warns(60, 2));
  EXPECT_FALSE(warns(61, 0));
  EXPECT_FALSE(warns(62, 2));
  EXPECT_TRUE(warns(68, 2));
}

}  // namespace
}  // namespace norvik::test
