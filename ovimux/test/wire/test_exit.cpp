// Every way in which a process may end, again and again: with its own exit code and at once.
#include <sys/wait.h>

#include <csignal>

#include "ovimux/dds/service_server_base.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using test::PeerProcess;

constexpr int kRuns = 6;
constexpr int kSideBySide = 3;
constexpr std::chrono::seconds kLimit{10};  // Two cores, several processes; alone a probe takes some 0.2 s.

struct ExitCase {
  const char* way;
  const char* ending;
  const char* holder;
  bool publishes;
};

class Exits : public test::WireTest, public ::testing::WithParamInterface<ExitCase> {
 protected:
  static void run() {
    const auto& c = GetParam();
    const std::vector<std::string> arguments = {std::string("way=") + c.way, std::string("ending=") + c.ending,
                                                std::string("holder=") + c.holder,
                                                std::string("publishes=") + (c.publishes ? "1" : "0"), "ms=100"};
    for (int started = 0; started < kRuns; started += kSideBySide) {
      std::vector<std::unique_ptr<PeerProcess>> probes;
      for (int i = 0; i < kSideBySide; ++i) {
        probes.push_back(std::make_unique<PeerProcess>(OVIMUX_EXIT_PROBE, arguments));
      }
      for (const auto& probe : probes) {
        const auto status = probe->wait(kLimit);
        ASSERT_TRUE(status.has_value()) << "still running";
        EXPECT_FALSE(WIFSIGNALED(*status)) << "signal " << WTERMSIG(*status);
        EXPECT_EQ(7, WEXITSTATUS(*status));
      }
    }
  }
};

TEST_P(Exits, AreCleanWithoutAPeer) { run(); }

// The peer answers requests and keeps publishing into the dying process.
TEST_P(Exits, AreCleanWithALivePeer) {
  const auto writer = write("exit");
  std::atomic<bool> stop{false};
  std::thread publisher([&] {
    while (!stop) {
      writer->Publish(std::string(1000, 'y'));
      // Not faster: Fast DDS 2.9.1 can lock up when a reader goes while old samples are being sent to it again.
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  });
  PeerProcess server(OVIMUX_WIRE_PEER);
  EXPECT_EQ("ok", server.ask("echo exit/service 0"));
  run();
  stop = true;
  publisher.join();
}

TEST_P(Exits, AreCleanWithADeadPeer) {
  {
    PeerProcess server(OVIMUX_WIRE_PEER);
    EXPECT_EQ("ok", server.ask("echo exit/service 0"));
    EXPECT_EQ("ok", server.ask("writer exit 0 0"));
  }  // Killed: the others learn of it only when its lease has run out.
  run();
}

using StuckExit = test::WireTest;

// Not even a middleware that hangs keeps a process from ending.
TEST_F(StuckExit, IsGivenUpAndKeepsItsStatus) {
  PeerProcess probe(OVIMUX_EXIT_PROBE, {"way=stuck", "ending=none", "holder=static_before", "publishes=0", "ms=100"});
  const auto status = probe.wait(std::chrono::seconds(15));
  ASSERT_TRUE(status.has_value()) << "still running";
  EXPECT_TRUE(WIFEXITED(*status));
  EXPECT_EQ(7, WEXITSTATUS(*status));
}

INSTANTIATE_TEST_SUITE_P(
    Ways, Exits,
    ::testing::Values(ExitCase{"return", "none", "local", false}, ExitCase{"return", "none", "static_before", true},
                      ExitCase{"return", "none", "static_after", true},
                      ExitCase{"return", "clear", "static_after", true}, ExitCase{"exit", "none", "local", true},
                      ExitCase{"exit", "shutdown", "static_before", true},
                      ExitCase{"exit", "none", "static_after", true}, ExitCase{"callback_exit", "none", "local", true},
                      ExitCase{"callback_exit", "none", "static_before", false},
                      ExitCase{"callback_exit", "none", "static_after", true},
                      ExitCase{"sigterm", "none", "static_before", true},
                      ExitCase{"sigterm", "clear", "static_after", false}),
    [](const auto& row) {
      const auto& c = row.param;
      return std::string(c.way) + "_" + c.ending + "_" + c.holder + (c.publishes ? "_publishing" : "");
    });

}  // namespace
}  // namespace norvik::ovimux
