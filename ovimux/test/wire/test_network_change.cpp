// The network fails or changes while a robot on another machine is in use: two network name spaces with a cable between
// them. Only root may make those; others skip the test.
#include <sched.h>

#include <cstdlib>
#include <string>

#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::eventually;
using test::LogCapture;
using test::PeerProcess;

bool run(const std::string& command) { return std::system((command + " 2> /dev/null").c_str()) == 0; }

class NetworkChange : public ::testing::Test {
 protected:
  void SetUp() override {
    if (unshare(CLONE_NEWNET) != 0 || !run("ip link set lo up")) {
      GTEST_SKIP() << "needs root and iproute2";
    }
    setenv("OVIMUX_LOCALHOST_ONLY", "0", 1);
    // The robot has a name space, and shared memory, of its own. It starts when its end of the cable is connected.
    const std::string robot =
        std::string("mount -t tmpfs none /dev/shm; until ip -4 addr show up dev vb | grep -q LOWER_UP") +
        "; do sleep 0.1; done; exec " + OVIMUX_PLAIN_ROBOT + " $OVIMUX_DOMAIN_ID all-interfaces";
    robot_ = std::make_unique<PeerProcess>(
        "/usr/bin/unshare", std::vector<std::string>{"-n", "-m", "sh", "-c", "ip link set lo up; echo here; " + robot});
    ASSERT_EQ("here", robot_->read_line());
    const std::string pid = std::to_string(robot_->pid());
    ASSERT_TRUE(run("ip link add va type veth peer name vb netns " + pid));
    ASSERT_TRUE(run("ip addr add 10.9.0.1/24 dev va && ip link set va up"));
    ASSERT_TRUE(run("nsenter -n -t " + pid + " sh -c 'ip addr add 10.9.0.2/24 dev vb && ip link set vb up'"));
    ASSERT_EQ("ready", robot_->read_line());
    OvimuxInitInternal();
    node_ = CreateNode("network_change", "");
    client_ = node_->CreateClient("plain/small", RpcQos{}, false);
  }

  bool is_answered(seconds limit) {
    return eventually(
        [this] {
          const auto future = client_->AsyncSendRequest(std::string("x"));
          return future.valid() && future.wait_for(milliseconds(200)) == std::future_status::ready;
        },
        limit);
  }

  std::unique_ptr<PeerProcess> robot_;
  std::unique_ptr<Node> node_;
  std::shared_ptr<RawClient> client_;
};

TEST_F(NetworkChange, ALinkThatWasDownIsUsedAgain) {
  const LogCapture log;
  ASSERT_TRUE(is_answered(seconds(10)));
  ASSERT_TRUE(run("ip link set va down; sleep 2; ip link set va up"));
  EXPECT_TRUE(is_answered(seconds(10)));
  EXPECT_FALSE(log.has(kWarning, "new network address"));
}

TEST_F(NetworkChange, AnotherAddressIsWarnedOf) {
  const LogCapture log;
  ASSERT_TRUE(is_answered(seconds(10)));
  ASSERT_TRUE(run("ip addr del 10.9.0.1/24 dev va; ip addr add 10.9.0.3/24 dev va"));
  EXPECT_TRUE(log.awaits(kWarning, "this machine has a new network address, va 10.9.0.3"));
}

}  // namespace
}  // namespace norvik::ovimux
