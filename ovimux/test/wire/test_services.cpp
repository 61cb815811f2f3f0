// Requests and responses, the service in another process.
#include <sys/wait.h>

#include <csignal>

#include "ovimux/core/global_data.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::seconds;
using test::eventually;
using test::Inbox;
using test::LogCapture;
using test::PeerProcess;

class Services : public test::WireTest {
 protected:
  std::shared_ptr<RawClient> connect(const std::string& service, const RpcQos& qos = {}) {
    auto client = node_->CreateClient(service, qos, false);
    client->WaitForServerConnected(seconds(10));
    EXPECT_EQ(1U, client->GetMatchedServerCount());
    return client;
  }
  static std::string request(RawClient& client, const std::string& text, int timeout_s = 10) {
    const auto response = client.SendRequest(text, seconds(timeout_s));
    return response ? *response : "(none)";
  }

  std::unique_ptr<PeerProcess> peer_ = std::make_unique<PeerProcess>(OVIMUX_WIRE_PEER);
};

TEST_F(Services, WithoutAServerNothingIsSentOrAwaited) {
  Inbox inbox;
  for (const bool half : {false, true}) {
    SCOPED_TRACE(half ? "only its reader is seen" : "no server");
    const std::string service = half ? "half" : "nobody";
    const auto requests = half ? read(service + "__RPC__REQUEST", inbox) : nullptr;
    const auto client = node_->CreateClient(service, RpcQos{}, false);
    const LogCapture log;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(nullptr, client->SendRequest(std::string("x"), seconds(10)));
    EXPECT_FALSE(client->AsyncSendRequest(std::string("x")).valid());
    client->WaitForServerConnected(seconds(0));
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(1));
    EXPECT_EQ(0U, client->GetMatchedServerCount());
    EXPECT_EQ(2, log.count(kInfo, "DDSSerializationDataClient: no match server, request return. topic: " + service));
    EXPECT_TRUE(log.has(kWarning, "WaitForServerConnectThread timeout after 0 seconds, topic: " + service));
    EXPECT_EQ(half, log.has(kInfo,
                            "DDSSerializationDataClient: topic: half, current pub/sub match different count, "
                            "pub match count: 1, sub match count: 0"));
  }
  EXPECT_EQ(0U, inbox.size());
}

TEST_F(Services, AnswerInBothEnvelopes) {
  for (const int kind : {0, int{kLargePayloadKind}}) {
    SCOPED_TRACE(kind);
    const std::string service = "echo" + std::to_string(kind);
    ASSERT_EQ("ok", peer_->ask("echo " + service + " " + std::to_string(kind)));
    RpcQos qos;
    qos.payload_kind = kind;
    const auto client = connect(service, qos);
    const std::string text(kind == 0 ? 60000 : 2000000, 'r');
    EXPECT_TRUE(text == request(*client, text));
    EXPECT_EQ("", request(*client, ""));
  }
}

// Both clients number their requests alike, so only the identity of their writers keeps the answers apart.
TEST_F(Services, ClientsOfOneServiceDoNotSeeEachOthersAnswers) {
  ASSERT_EQ("ok", peer_->ask("hold shared"));
  const auto a = connect("shared");
  const auto b = connect("shared");
  const LogCapture log;
  const auto from_a = a->AsyncSendRequest(std::string("a"));
  ASSERT_TRUE(eventually([&] { return peer_->ask("held shared") == "held 1"; })) << "the first request has number 1";
  const auto from_b = b->AsyncSendRequest(std::string("b"));
  ASSERT_TRUE(eventually([&] { return peer_->ask("held shared") == "held 1 1"; }));
  ASSERT_EQ("2", peer_->ask("release shared 0"));
  EXPECT_EQ("a", *from_a.get());
  EXPECT_EQ("b", *from_b.get());
  EXPECT_TRUE(eventually([&] {
    return log.count(kInfo, "DDSClientSubSerializationListener: data id from other client, writer guid origin: ") == 2;
  }));
  EXPECT_FALSE(log.has(kError, ""));
}

TEST_F(Services, AnswersThatAreLateOrUnknownChangeNothing) {
  ASSERT_EQ("ok", peer_->ask("hold late"));
  const auto client = connect("late");
  const LogCapture log;
  EXPECT_EQ("(none)", request(*client, "first", 1));
  EXPECT_TRUE(log.has(kError, "DDSSerializationDataClient: future get failed, timeout, topic: late, index: 1"));
  const auto pending = client->AsyncSendRequest(std::string("second"));
  ASSERT_TRUE(eventually([&] { return peer_->ask("held late") == "held 1 2"; }));

  ASSERT_EQ("2", peer_->ask("release late 1000"));
  EXPECT_TRUE(log.awaits(kError, "DDSSerializationDataClient: pending_requests_ count failed, seq_num: 1002"));
  EXPECT_EQ(std::future_status::timeout, pending.wait_for(seconds(0)));
  ASSERT_EQ("2", peer_->ask("release late 0"));
  EXPECT_EQ("second", *pending.get());
  EXPECT_TRUE(log.has(kError, "pending_requests_ count failed, seq_num: 1, topic: late"));
  ASSERT_EQ("ok", peer_->ask("echo late 0"));
  EXPECT_EQ("third", request(*client, "third"));
}

TEST_F(Services, AKilledServerIsReplacedByItsSuccessor) {
  ASSERT_EQ("ok", peer_->ask("echo mortal 0"));
  const auto client = connect("mortal");
  EXPECT_EQ("before", request(*client, "before"));
  peer_->kill(SIGKILL);
  EXPECT_EQ("(none)", request(*client, "nobody there", 1));
  peer_ = std::make_unique<PeerProcess>(OVIMUX_WIRE_PEER);
  ASSERT_EQ("ok", peer_->ask("echo mortal 0"));
  EXPECT_TRUE(eventually([&] { return request(*client, "after", 1) == "after"; }));
  EXPECT_TRUE(eventually([&] { return client->GetMatchedServerCount() == 1; })) << "the dead one is forgotten";
}

TEST_F(Services, ManyThreadsShareAClientWithoutLosingOrMixingAnswers) {
  constexpr int kThreads = 8;
  constexpr int kPerThread = 12500;
  ASSERT_EQ("ok", peer_->ask("echo busy 0"));
  const auto client = connect("busy");
  std::atomic<int> right{0};
  std::vector<std::thread> threads;
  const auto start = std::chrono::steady_clock::now();
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < kPerThread; ++i) {
        const std::string text = std::to_string(t) + "/" + std::to_string(i);
        right += request(*client, text, 20) == text ? 1 : 0;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  const auto elapsed = std::chrono::steady_clock::now() - start;
  RecordProperty("seconds", std::to_string(std::chrono::duration<double>(elapsed).count()));
  EXPECT_EQ(kThreads * kPerThread, right);
}

TEST_F(Services, AClientMayGoWhileItsRequestIsOnTheWay) {
  ASSERT_EQ("ok", peer_->ask("hold orphan"));
  auto client = connect("orphan");
  const auto future = client->AsyncSendRequest(std::string("x"));
  ASSERT_TRUE(eventually([&] { return peer_->ask("held orphan") == "held 1"; }));
  client.reset();
  ASSERT_EQ(std::future_status::ready, future.wait_for(seconds(5))) << "nobody waits for an answer that cannot come";
  EXPECT_THROW(future.get(), std::future_error);
  ASSERT_EQ("1", peer_->ask("release orphan 0"));
}

TEST_F(Services, TheCallbackGetsTheAnswerAndMayDropTheClient) {
  ASSERT_EQ("ok", peer_->ask("echo called 0"));
  auto client = connect("called");
  std::promise<std::string> answer;
  client->AsyncSendRequest(std::make_shared<const std::string>("x"), [&](auto future) {
    client.reset();
    answer.set_value(*future.get());
  });
  auto result = answer.get_future();
  ASSERT_EQ(std::future_status::ready, result.wait_for(seconds(10)));
  EXPECT_EQ("x", result.get());
}

// All workers but one wait for an answer, which the last one has to deliver.
TEST_F(Services, CallbacksMayBlockInRequests) {
  ASSERT_EQ("ok", peer_->ask("hold nested"));
  const auto client = connect("nested");
  const unsigned blocked = OvimuxThreadPool::Instance()->worker_count() - 1;
  std::atomic<unsigned> answered{0};
  std::vector<std::shared_ptr<RawReader>> readers;
  for (unsigned i = 0; i < blocked; ++i) {
    readers.push_back(node_->CreateReader(
        "trigger", [&](const void*, int, const void*) { answered += request(*client, "x") == "x" ? 1 : 0; }, Qos{},
        nullptr, false));
  }
  ASSERT_TRUE(write("trigger")->Publish(std::string("go")));
  std::string all = "held";
  for (unsigned i = 1; i <= blocked; ++i) {
    all += " " + std::to_string(i);
  }
  ASSERT_TRUE(eventually([&] { return peer_->ask("held nested") == all; }));
  peer_->ask("release nested 0");
  EXPECT_TRUE(eventually([&] { return answered == blocked; }));
}

}  // namespace
}  // namespace norvik::ovimux
