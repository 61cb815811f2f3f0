// The participant is made anew while everything on it is in use.
#include <thread>

#include "ovimux/dds/service_server_base.hpp"
#include "support/holdings.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using test::eventually;
using test::Gate;
using test::Holdings;
using test::Inbox;
using test::PeerProcess;

class Renewal : public test::WireTest {
 protected:
  void SetUp() override {
    WireTest::SetUp();
    ASSERT_EQ("ok", peer_.ask("echo renewal/service 0"));
    ASSERT_EQ("ok", peer_.ask("relay there back 0"));
    client_ = node_->CreateClient("renewal/service", RpcQos{}, false);
    reader_ = read("back", inbox_);
    writer_ = write("there");
  }

  bool is_answered(const std::shared_ptr<RawClient>& client) {
    return eventually([&] {
      const auto answer = client->SendRequest(std::string("x"), seconds(1));
      return answer != nullptr && *answer == "x";
    });
  }

  // There and back through the other process.
  bool all_works() {
    const size_t before = inbox_.size();
    return is_answered(client_) && eventually([&] {
             writer_->Publish(std::string("x"));
             std::this_thread::sleep_for(milliseconds(2));
             return inbox_.size() > before;
           });
  }

  PeerProcess peer_{OVIMUX_WIRE_PEER};
  Inbox inbox_;
  std::shared_ptr<RawClient> client_;
  std::shared_ptr<RawReader> reader_;
  std::shared_ptr<RawWriter> writer_;
};

TEST_F(Renewal, EndpointsGoOnAndPeersAreCountedAnew) {
  ServiceServerBase* answering = nullptr;
  ServiceServerBase server("renewal/own", RpcQos{}, [&](const RequestContext& context, const auto& bytes) {
    answering->Reply(context, std::string(bytes.begin(), bytes.end()));
  });
  answering = &server;
  const auto own = node_->CreateClient("renewal/own", RpcQos{}, false);
  ASSERT_TRUE(all_works() && is_answered(own));
  for (int i = 0; i < 2; ++i) {
    ASSERT_TRUE(DDSNodeFactory::Instance()->Renew());
    EXPECT_TRUE(all_works());
    EXPECT_TRUE(is_answered(own));
    EXPECT_EQ(1U, client_->GetMatchedServerCount());
    EXPECT_EQ(0U, client_->GetLostServerCount());
  }
}

TEST_F(Renewal, EndsPendingRequestsInATimeOut) {
  ASSERT_TRUE(all_works());
  ASSERT_EQ("ok", peer_.ask("hold renewal/service"));
  std::thread request([this] { EXPECT_FALSE(client_->SendRequest(std::string("lost"), seconds(2))); });
  ASSERT_TRUE(eventually([this] { return peer_.ask("held renewal/service") != "held"; }));
  ASSERT_TRUE(DDSNodeFactory::Instance()->Renew());
  EXPECT_EQ("1", peer_.ask("release renewal/service 0"));
  request.join();
  ASSERT_EQ("ok", peer_.ask("echo renewal/service"));
  EXPECT_TRUE(all_works());
}

TEST_F(Renewal, PublishesTheLastLatchedSampleAgain) {
  const auto latched = write("renewal/latched", test::latched_qos());
  const auto plain = write("renewal/plain");
  for (const char* text : {"old", "last"}) {
    ASSERT_TRUE(latched->Publish(std::string(text)));
    ASSERT_TRUE(plain->Publish(std::string(text)));
  }
  ASSERT_TRUE(DDSNodeFactory::Instance()->Renew());
  Inbox late;
  Inbox nothing;
  const auto late_reader = read("renewal/latched", late, test::latched_qos());
  const auto plain_reader = read("renewal/plain", nothing);
  EXPECT_TRUE(late.awaits(1));
  EXPECT_EQ((std::vector<std::string>{"last"}), late.messages());
  EXPECT_EQ(0U, nothing.size());
}

TEST_F(Renewal, LetsARunningCallbackEnd) {
  Gate inside;
  Gate end;
  std::atomic<int> ended{0};
  const auto callback = [&](const void*, int, const void*) {
    inside.open();
    end.wait();
    ++ended;
  };
  const auto slow = node_->CreateReader("renewal/slow", callback, Qos{}, nullptr, false);
  const auto writer = write("renewal/slow");
  ASSERT_TRUE(writer->Publish(std::string("x")));
  inside.wait();
  ASSERT_TRUE(DDSNodeFactory::Instance()->Renew());
  EXPECT_EQ(0, ended);
  end.open();
  EXPECT_TRUE(eventually([&] { return writer->Publish(std::string("x")) && ended >= 2; }));
}

TEST_F(Renewal, IsSafeWhateverOthersDo) {
  OVIMUX_LOG(kWarning) << "the log makes its thread with the first line, which is no leak";
  ASSERT_TRUE(DDSNodeFactory::Instance()->Renew());
  ASSERT_TRUE(all_works());
  const Holdings first;
  std::atomic<bool> stop{false};
  std::vector<std::thread> threads;
  const auto keep_doing = [&](auto what) {
    threads.emplace_back([&stop, what] {
      while (!stop) {
        what();
        std::this_thread::sleep_for(milliseconds(1));
      }
    });
  };
  keep_doing([this] { writer_->Publish(std::string(1000, 'x')); });
  keep_doing([this] { client_->AsyncSendRequest(std::string("x")); });
  keep_doing([this] {
    Inbox inbox;
    const auto reader = read("renewal/churn", inbox);
    const auto writer = write("renewal/churn", test::latched_qos());
    EXPECT_TRUE(writer != nullptr && writer->Publish(std::string("x")));
  });
  for (int i = 0; i < 20; ++i) {
    EXPECT_TRUE(DDSNodeFactory::Instance()->Renew());
    std::this_thread::sleep_for(milliseconds(50));
  }
  stop = true;
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_TRUE(all_works());
  EXPECT_TRUE(eventually([&] { return Holdings().within(first); })) << Holdings() << ", at first " << first;
}

}  // namespace
}  // namespace norvik::ovimux
