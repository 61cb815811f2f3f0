// Shutdown of the middleware, which is final: every case runs in a process of its own.
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <regex>
#include <stdexcept>

#include "ovimux/core/shutdown_tasks.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::seconds;
using test::eventually;
using test::Inbox;
using test::LogCapture;

class Shutdown : public test::WireTest {};

TEST_F(Shutdown, EndsWaitsEarlyAndWaitsForThem) {
  test::PeerProcess peer(OVIMUX_WIRE_PEER);
  ASSERT_EQ("ok", peer.ask("hold silent"));
  const auto client = node_->CreateClient("silent", RpcQos{}, false);
  const auto absent = node_->CreateClient("absent", RpcQos{}, false);
  client->WaitForServerConnected(seconds(10));
  const LogCapture log;
  std::atomic<int> ended{0};
  std::thread request([&] {
    EXPECT_EQ(nullptr, client->SendRequest(std::string("x"), seconds(60)));
    ++ended;
  });
  std::thread wait([&] {
    absent->WaitForServerConnected(seconds(60));
    ++ended;
  });
  ASSERT_TRUE(eventually([&] { return peer.ask("held silent") == "held 1"; }));
  const auto start = std::chrono::steady_clock::now();
  AsyncShutdown();
  EXPECT_FALSE(OK());
  WaitForShutdown();
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(2));
  request.join();
  wait.join();
  EXPECT_EQ(2, ended);
  EXPECT_TRUE(log.has(kInfo, "DDSSerializationDataClient: ovimux state is shutdown, topic: silent"));
  EXPECT_TRUE(log.has(kInfo, "WaitForServerConnectThread exited due to shutdown, topic: absent"));
  EXPECT_FALSE(log.has(kError, "timeout"));
}

TEST_F(Shutdown, StopsEveryOperationWithItsText) {
  Inbox inbox;
  const auto reader = read("topic", inbox, test::sync_qos(true));
  const auto writer = write("topic");
  const auto client = node_->CreateClient("service", RpcQos{}, false);
  ASSERT_TRUE(writer->Publish(std::string("x")));
  ASSERT_TRUE(eventually([] { return test::statistics_of("topic").received == 1; }));
  AsyncShutdown();
  const LogCapture log(kInfo);
  EXPECT_FALSE(writer->Publish(std::string("x")));
  EXPECT_TRUE(log.has(kInfo, "DDSNodeFactory: ovimux state is shutdown"));
  EXPECT_FALSE(reader->SyncAll());
  EXPECT_TRUE(log.has(kInfo, "msg_threadpoll_task: ovimux state is shutdown, topic: topic"));
  EXPECT_EQ(nullptr, client->SendRequest(std::string("x"), seconds(9)));
  EXPECT_FALSE(client->AsyncSendRequest(std::string("x")).valid());
  EXPECT_EQ(2, log.count(kInfo, "DDSSerializationDataClient: ovimux state is shutdown, topic: service"));
  EXPECT_FALSE(OvimuxThreadPool::Instance()->push_task(std::make_shared<Task>([] {})));
  EXPECT_TRUE(log.has(kError, "threadpool not ready"));
  EXPECT_EQ(0U, inbox.size());
  OvimuxInitInternal();
  EXPECT_FALSE(OK()) << "a shutdown is final";
}

TEST_F(Shutdown, ClearLeavesHeldEndpointsHarmless) {
  Inbox inbox;
  const auto reader = read("topic", inbox);
  const auto writer = write("topic");
  std::vector<std::thread> publishers;
  std::atomic<bool> stop{false};
  for (int i = 0; i < 3; ++i) {
    publishers.emplace_back([&] {
      while (!stop) {
        writer->Publish(std::string("x"));
      }
    });
  }
  ASSERT_TRUE(inbox.awaits(100));
  Clear();
  Clear();
  stop = true;
  for (auto& publisher : publishers) {
    publisher.join();
  }
  EXPECT_FALSE(writer->Publish(std::string("x")));
  EXPECT_TRUE(reader->SyncAll());
  EXPECT_FALSE(write("new")) << "nothing is opened any more";
}

// Registers what `act` does as a task, and tells when it has run.
class Closing : public Shutdown {
 protected:
  using Deadline = std::chrono::steady_clock::time_point;

  template <typename Act>
  std::unique_ptr<ShutdownTask> task(Act act) {
    return std::make_unique<ShutdownTask>([this, act](Deadline deadline) {
      act(deadline);
      ++runs_;
    });
  }
  std::atomic<int> runs_{0};
};

TEST_F(Closing, TasksPublishAndGetAnswersWhileOthersAreRefused) {
  test::PeerProcess peer(OVIMUX_WIRE_PEER);
  ASSERT_EQ("ok", peer.ask("echo answering 0"));
  const auto client = node_->CreateClient("answering", RpcQos{}, false);
  const auto writer = write("topic");
  client->WaitForServerConnected(seconds(10));
  const auto sends = task([&](Deadline deadline) {
    EXPECT_FALSE(OK());
    EXPECT_GT(deadline, std::chrono::steady_clock::now());
    EXPECT_TRUE(writer->Publish(std::string("x")));
    EXPECT_NE(nullptr, client->SendRequest(std::string("x"), seconds(1)));
    const auto future = client->AsyncSendRequest(std::string("y"));
    ASSERT_TRUE(future.valid());
    EXPECT_EQ(std::future_status::ready, future.wait_until(deadline));
    std::thread([&] {
      EXPECT_FALSE(writer->Publish(std::string("x")));
      const ClosingPass pass;
      EXPECT_NE(nullptr, client->SendRequest(std::string("x"), seconds(1)));
    }).join();
  });
  AsyncShutdown();
  WaitForShutdown();
  EXPECT_EQ(1, runs_);
  Clear();
  EXPECT_EQ(1, runs_);
  const ClosingPass pass;
  EXPECT_FALSE(writer->Publish(std::string("x"))) << "closed";
}

TEST_F(Closing, IsBoundedWhenNobodyAnswers) {
  test::PeerProcess peer(OVIMUX_WIRE_PEER);
  ASSERT_EQ("ok", peer.ask("hold silent"));
  const auto client = node_->CreateClient("silent", RpcQos{}, false);
  client->WaitForServerConnected(seconds(10));
  const auto ask = [&](Deadline deadline) {
    EXPECT_EQ(std::future_status::timeout, client->AsyncSendRequest(std::string("x")).wait_until(deadline));
  };
  const auto first = task(ask);
  const auto second = task(ask);
  const auto start = std::chrono::steady_clock::now();
  Clear();
  const auto elapsed = std::chrono::steady_clock::now() - start;
  EXPECT_EQ(2, runs_);
  EXPECT_GE(elapsed, std::chrono::milliseconds(500));
  EXPECT_LT(elapsed, std::chrono::milliseconds(1500));
}

TEST_F(Closing, CallsFromAnywhereDoNotLockUp) {
  std::unique_ptr<ShutdownTask> last;
  const auto late = std::make_shared<std::unique_ptr<ShutdownTask>>();
  const auto clears = task([](Deadline) {
    AsyncShutdown();
    Clear();
  });
  const auto throws = task([](Deadline) { throw std::runtime_error("x"); });
  last = task([&](Deadline) {
    *late = task([](Deadline) {});
    last.reset();
  });
  Inbox inbox;
  const auto reader = node_->CreateReader(
      "topic", [](const void*, int, const void*) { Clear(); }, Qos{}, nullptr, false);
  const auto writer = write("topic");
  ASSERT_TRUE(eventually([&] { return writer->Publish(std::string("x")), !OK(); }));
  WaitForShutdown();
  EXPECT_EQ(3, runs_) << "all but the one that throws";
  Clear();
}

TEST_F(Closing, SleepEndsWithTheRequest) {
  std::atomic<int> ended{0};
  const auto now = std::chrono::steady_clock::now();
  EXPECT_TRUE(sleep_while_running(now + std::chrono::milliseconds(1)));
  std::thread sleeper([&] { ended += sleep_while_running(now + seconds(60)) ? 2 : 1; });
  AsyncShutdown();
  sleeper.join();
  EXPECT_EQ(1, ended);
  EXPECT_FALSE(sleep_while_running(now)) << "also when it is over already";
}

TEST_F(Closing, TaskThatIsDestroyedWhileItRunsIsAwaited) {
  test::Gate gate;
  std::atomic<bool> running{false};
  auto busy = task([&](Deadline) {
    running = true;
    gate.wait();
  });
  AsyncShutdown();
  ASSERT_TRUE(eventually([&] { return running.load(); }));
  std::thread destroyer([&] { busy.reset(); });
  EXPECT_EQ(0, runs_);
  gate.open();
  destroyer.join();
  EXPECT_EQ(1, runs_);
}

// Standard error becomes a pipe that holds one page.
class UnreadLog : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(0, pipe(ends_.data()));
    fcntl(ends_[1], F_SETPIPE_SZ, 4096);
    dup2(ends_[1], STDERR_FILENO);
  }
  void TearDown() override { dup2(saved_, STDERR_FILENO); }

  // Appends what comes until `done` likes it; false when nothing comes any more.
  template <typename Done>
  bool read_until(Done done) {
    std::array<char, 4096> buffer{};
    pollfd readable{ends_[0], POLLIN, 0};
    while (!done()) {
      if (poll(&readable, 1, 5000) <= 0) {
        return false;
      }
      text_.append(buffer.data(), static_cast<size_t>(read(ends_[0], buffer.data(), buffer.size())));
    }
    return true;
  }

  // The numbers that stand in the text where `pattern` has its group.
  std::vector<int> found(const std::string& pattern) const {
    const std::regex regex(pattern);
    std::vector<int> numbers;
    for (std::sregex_iterator at(text_.begin(), text_.end(), regex), end; at != end; ++at) {
      numbers.push_back(std::stoi((*at)[1]));
    }
    return numbers;
  }

  std::string text_;

  std::array<int, 2> ends_{};
  const int saved_ = dup(STDERR_FILENO);
};

TEST_F(UnreadLog, HoldsNobodyUpAndCountsWhatIsLost) {
  constexpr int kLines = 10000;
  const auto start = std::chrono::steady_clock::now();
  for (int i = 0; i < kLines; ++i) {
    OVIMUX_LOG(kError) << "line " << i;
  }
  EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(2));
  const auto told_of = [this] {
    const auto dropped = found(" ([0-9]+) lines dropped\n");
    const auto written = found(" error test_shutdown.cpp:[0-9]+\\]:line ([0-9]+)\n");
    EXPECT_TRUE(std::is_sorted(written.begin(), written.end()));
    return static_cast<int>(written.size()) + std::accumulate(dropped.begin(), dropped.end(), 0);
  };
  EXPECT_TRUE(read_until([&] { return text_.find("lines dropped\n") != std::string::npos && told_of() == kLines; }))
      << told_of();
  OVIMUX_LOG(kError) << "after";
  EXPECT_TRUE(read_until([&] { return text_.find("]:after\n") != std::string::npos; }));
}

}  // namespace
}  // namespace norvik::ovimux
