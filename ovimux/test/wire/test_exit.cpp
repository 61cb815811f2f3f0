// Every way in which a process may end, again and again: with its own exit code and at once.
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

void run_probes(int runs, const std::vector<std::string>& arguments) {
  for (int started = 0; started < runs; started += kSideBySide) {
    std::vector<std::unique_ptr<PeerProcess>> probes;
    for (int i = 0; i < kSideBySide; ++i) {
      probes.push_back(std::make_unique<PeerProcess>(OVIMUX_EXIT_PROBE, arguments));
    }
    for (const auto& probe : probes) {
      const auto status = probe->wait_for_exit(kLimit);
      ASSERT_TRUE(status.has_value()) << "still running";
      EXPECT_EQ(7, *status) << "above 128 for a signal";
    }
  }
}

class Exits : public test::WireTest, public ::testing::WithParamInterface<ExitCase> {
 protected:
  static void run() {
    const auto& c = GetParam();
    run_probes(kRuns,
               {std::string("way=") + c.way, std::string("ending=") + c.ending, std::string("holder=") + c.holder,
                std::string("publishes=") + (c.publishes ? "1" : "0"), "ms=100"});
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

// Not even a middleware that hangs keeps a process from ending, nor a standard error that nobody reads.
class HinderedExits : public test::WireTest, public ::testing::WithParamInterface<std::vector<std::string>> {};

TEST_P(HinderedExits, KeepTheirStatus) { run_probes(kSideBySide, GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    , HinderedExits,
    ::testing::Values(
        std::vector<std::string>{"way=stuck", "ending=none", "holder=static_before", "ms=100"},
        std::vector<std::string>{"way=stuck", "ending=none", "holder=static_before", "ms=100", "stderr=full"},
        std::vector<std::string>{"way=return", "ending=none", "holder=static_before", "publishes=1", "ms=200",
                                 "renews=1"},
        std::vector<std::string>{"way=return", "ending=none", "holder=local", "publishes=1", "ms=500", "stderr=full"},
        std::vector<std::string>{"way=exit", "ending=clear", "holder=local", "publishes=1", "ms=500", "stderr=full"}));

// What applications do besides, and find undisturbed.
class OwnExits : public test::WireTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(OwnExits, AreTheApplicationsAffair) {
  run_probes(2 * kRuns,
             {std::string("way=") + GetParam(), "ending=none", "holder=static_before", "publishes=1", "ms=50"});
}

INSTANTIATE_TEST_SUITE_P(, OwnExits, ::testing::Values("fork_exit", "many_exits", "own_sigterm"),
                         [](const auto& row) { return std::string(row.param); });

using OwnStream = test::WireTest;
TEST_F(OwnStream, IsFlushed) {
  PeerProcess probe(OVIMUX_EXIT_PROBE,
                    {"way=last_words", "ending=none", "holder=static_before", "publishes=1", "ms=50"});
  EXPECT_EQ("last words", probe.read_rest(kLimit));
}

// The exit callback takes its time; the process ends when and as the callback says.
class SignalledExits : public test::WireTest,
                       public ::testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(SignalledExits, LetTheCallbackFinish) {
  run_probes(30, {std::string("way=") + GetParam().first, "ending=none", "holder=static_after", "publishes=1", "ms=50",
                  std::string("on_signal=") + GetParam().second});
}

INSTANTIATE_TEST_SUITE_P(
    , SignalledExits,
    ::testing::Values(std::make_pair("await_sigint", "sleep"), std::make_pair("await_sigint", "exit"),
                      std::make_pair("await_sigint", "clear"), std::make_pair("return_on_sigint", "sleep"),
                      std::make_pair("return_on_sigint", "exit"), std::make_pair("return_on_sigint", "clear")),
    [](const auto& row) { return std::string(row.param.first) + "_" + row.param.second; });

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
