// Shutdown of the middleware, which is final: every case runs in a process of its own.
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

}  // namespace
}  // namespace norvik::ovimux
