// The network fails or changes while a robot on another machine is in use: two network name spaces with a cable between
// them. Only root may make those; others skip the test.
//
// OVIMUX_CHANGES sets how often the network changes, OVIMUX_SECONDS_DOWN for how long a link is down.
#include <sched.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <string>

#include "support/holdings.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::eventually;
using test::Holdings;
using test::LogCapture;
using test::PeerProcess;

constexpr seconds kBackWithin{5};

int number_from(const char* variable, int otherwise) {
  const char* const text = std::getenv(variable);
  return text != nullptr ? std::atoi(text) : otherwise;
}

bool run(const std::string& command) { return std::system((command + " 2> /dev/null").c_str()) == 0; }

struct Change {
  const char* name;
  std::array<std::string, 2> commands;  // By turns.
  bool renews;                          // Whether the participant has to be made anew.
};

std::ostream& operator<<(std::ostream& out, const Change& change) { return out << change.name; }

class NetworkChange : public ::testing::TestWithParam<Change> {
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
    const auto count = [this](const void*, int, const void*) { ++states_; };
    state_ = node_->CreateReader("plain/state", count, Qos{}, nullptr, false);
  }

  // Whether commands are answered and the state arrives.
  bool is_connected(milliseconds limit) {
    const int states = states_;
    const auto both = [&] {
      const auto future = client_->AsyncSendRequest(std::string("x"));
      return future.valid() && future.wait_for(milliseconds(200)) == std::future_status::ready && states_ > states;
    };
    return eventually(both, limit);
  }

  std::atomic<int> states_{0};
  std::unique_ptr<PeerProcess> robot_;
  std::unique_ptr<Node> node_;
  std::shared_ptr<RawClient> client_;
  std::shared_ptr<RawReader> state_;
};

TEST_P(NetworkChange, IsSurvived) {
  const LogCapture log(kWarning);
  ASSERT_TRUE(is_connected(seconds(10)));
  const Holdings first;
  const int changes = number_from("OVIMUX_CHANGES", 2);
  milliseconds slowest{0};
  for (int i = 0; i < changes; ++i) {
    ASSERT_TRUE(run(GetParam().commands.at(i % 2)));
    const auto start = std::chrono::steady_clock::now();
    const int renewals = GetParam().renews ? i + 1 : 0;
    ASSERT_TRUE(eventually([&] { return log.count(kWarning, "new network address") >= renewals; }, kBackWithin));
    ASSERT_TRUE(is_connected(kBackWithin)) << "change " << i;
    slowest = std::max(slowest, std::chrono::duration_cast<milliseconds>(std::chrono::steady_clock::now() - start));
    EXPECT_EQ(renewals, log.count(kWarning, "new network address"));
  }
  EXPECT_LT(slowest, kBackWithin);
  EXPECT_TRUE(eventually([&] { return Holdings().within(first); }, seconds(15)))
      << Holdings() << ", at first " << first;
  std::cout << GetParam().name << ": " << changes << " changes, slowest " << slowest.count() << " ms; " << Holdings()
            << ", at first " << first << std::endl;
}

std::string down_for(int number) {
  return "ip link set va down; sleep " + std::to_string(number) + "; ip link set va up";
}

std::string address_after(const std::string& old_one, const std::string& pause, const std::string& new_one) {
  return "ip addr del 10.9.0." + old_one + "/24 dev va; " + pause + "ip addr add 10.9.0." + new_one + "/24 dev va";
}

const std::string kDown = down_for(number_from("OVIMUX_SECONDS_DOWN", 2));

INSTANTIATE_TEST_SUITE_P(
    All, NetworkChange,
    ::testing::Values(
        Change{"another_address", {address_after("1", "", "3"), address_after("3", "", "1")}, true},
        Change{"another_after_a_pause",
               {address_after("1", "sleep 1; ", "3"), address_after("3", "sleep 1; ", "1")},
               true},
        Change{"the_same_address_again", {address_after("1", "sleep 1; ", "1"), address_after("1", "", "1")}, false},
        Change{"link_down", {kDown, kDown}, false}),
    [](const auto& test) { return std::string(test.param.name); });

}  // namespace
}  // namespace norvik::ovimux
