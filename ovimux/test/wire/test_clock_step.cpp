// The wall clock is set while the middleware waits: no wait ends earlier or later for it.
#include <dlfcn.h>
#include <time.h>

#include "norvik/spatial_proto/transform.pb.h"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"
#include "support/wire_fixture.hpp"

namespace {

std::atomic<time_t> g_step_s{0};

}  // namespace

// Takes the place of the C library's in this process.
extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  static const auto real = reinterpret_cast<int (*)(clockid_t, timespec*)>(dlsym(RTLD_NEXT, "clock_gettime"));
  const int result = real(clock, now);
  if (clock == CLOCK_REALTIME) {
    now->tv_sec += g_step_s.load();
  }
  return result;
}

namespace norvik::ovimux {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using test::eventually;

class ClockStep : public test::WireTest, public ::testing::WithParamInterface<time_t> {
 protected:
  // Each has two seconds and nothing to wait for.
  void start(std::function<void()> wait) {
    waits_.emplace_back([this, wait = std::move(wait)] {
      const auto begin = steady_clock::now();
      wait();
      const auto elapsed = steady_clock::now() - begin;
      EXPECT_GE(elapsed, milliseconds(1990));
      EXPECT_LT(elapsed, milliseconds(3500));
      ++ended_;
    });
  }

  std::vector<std::thread> waits_;
  std::atomic<size_t> ended_{0};
};

TEST_P(ClockStep, NeitherEndsNorProlongsAWait) {
  test::PeerProcess peer(OVIMUX_WIRE_PEER);
  ASSERT_EQ("ok", peer.ask("hold silent"));
  const auto client = node_->CreateClient("silent", RpcQos{}, false);
  const auto absent = node_->CreateClient("absent", RpcQos{}, false);
  client->WaitForServerConnected(seconds(10));
  tf2_ovimux::Buffer buffer(std::make_shared<basic_interface::Clock>(basic_interface::RCL_SYSTEM_TIME),
                            basic_interface::Duration(10000000000));
  buffer.setUsingDedicatedThread(true);

  start([&] { EXPECT_EQ(nullptr, client->SendRequest(std::string("x"), seconds(2))); });
  start([&] { absent->WaitForServerConnected(seconds(2)); });
  start([&] {
    EXPECT_FALSE(buffer.canTransform("a", "b", basic_interface::Time(0, basic_interface::RCL_SYSTEM_TIME),
                                     basic_interface::Duration(2000000000)));
  });
  start([&] { sleep_while_running(steady_clock::now() + seconds(2)); });
  std::this_thread::sleep_for(milliseconds(300));  // All of them wait.
  EXPECT_EQ(0U, ended_);
  g_step_s = GetParam();
  const bool in_time = eventually([&] { return ended_ == waits_.size(); });
  AsyncShutdown();
  for (auto& wait : waits_) {
    wait.join();
  }
  EXPECT_TRUE(in_time);
}

INSTANTIATE_TEST_SUITE_P(, ClockStep, ::testing::Values(3600, -3600));

}  // namespace
}  // namespace norvik::ovimux
