// Delivery of samples to callbacks. Writer and reader share a process: a sample is queued when Publish returns.
#include "ovimux/core/global_data.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using test::eventually;
using test::Gate;
using test::Inbox;
using test::LogCapture;
using test::sync_qos;

using Texts = std::vector<std::string>;

Texts numbered(int first, int last) {
  Texts result;
  for (int i = first; i <= last; ++i) {
    result.push_back(std::to_string(i));
  }
  return result;
}

class Readers : public test::WireTest {
 protected:
  // One record is always made, so a blocked callback does not hold up the count.
  void publish(RawWriter& writer, const std::string& topic, int first, int last) {
    const uint64_t before = test::statistics_of(topic).received;
    for (const auto& text : numbered(first, last)) {
      ASSERT_TRUE(writer.Publish(text));
    }
    ASSERT_TRUE(eventually(
        [&] { return test::statistics_of(topic).received == before + static_cast<uint64_t>(last - first + 1); }));
  }
};

TEST_F(Readers, SyncReadersDeliverOnlyWhenAsked) {
  for (const bool run_inline : {false, true}) {
    SCOPED_TRACE(run_inline ? "inline" : "pooled");
    const std::string topic = run_inline ? "sync/inline" : "sync/pooled";
    const auto caller = std::this_thread::get_id();
    std::atomic<int> on_caller{0};
    Inbox inbox;
    const auto reader = node_->CreateReader(
        topic,
        [&](const void* data, int size, const void*) {
          on_caller += std::this_thread::get_id() == caller ? 1 : 0;
          inbox.add(std::string(static_cast<const char*>(data), static_cast<size_t>(size)));
        },
        sync_qos(run_inline), nullptr, false);
    EXPECT_FALSE(reader->CallbackModeIsAuto());
    const auto writer = write(topic);
    publish(*writer, topic, 1, 4);
    EXPECT_EQ(0U, inbox.size());
    EXPECT_TRUE(reader->SyncOnce());
    ASSERT_TRUE(inbox.awaits(1));
    EXPECT_EQ(numbered(1, 1), inbox.messages());
    EXPECT_TRUE(reader->SyncAll());
    ASSERT_TRUE(inbox.awaits(4));
    EXPECT_EQ(numbered(1, 4), inbox.messages());
    EXPECT_TRUE(reader->SyncOnce()) << "an empty queue is no failure";
    EXPECT_EQ(run_inline ? 4 : 0, on_caller);
  }
}

TEST_F(Readers, ASecondSyncAllWhileTheFirstRunsIsRefused) {
  Gate gate;
  std::atomic<int> calls{0};
  const auto reader = node_->CreateReader(
      "sync/busy",
      [&](const void*, int, const void*) {
        ++calls;
        gate.wait();
      },
      sync_qos(false), nullptr, false);
  const auto writer = write("sync/busy");
  publish(*writer, "sync/busy", 1, 2);
  EXPECT_TRUE(reader->SyncAll());
  ASSERT_TRUE(eventually([&] { return calls == 1; }));
  const LogCapture log;
  EXPECT_FALSE(reader->SyncAll());
  EXPECT_TRUE(log.has(kInfo, "DDSSerializationDataReader SyncAll is already running, topic: sync/busy"));
  gate.open();
  EXPECT_TRUE(eventually([&] { return calls == 2; }));
}

TEST_F(Readers, SyncOperationsOfAnAutoReaderDoNothing) {
  Inbox inbox;
  const auto reader = read("auto", inbox);
  const LogCapture log;
  EXPECT_TRUE(reader->SyncAll());
  EXPECT_TRUE(reader->SyncOnce());
  EXPECT_EQ((Texts{"SyncAll not support for auto callback mode, topic: auto",
                   "SyncOnce not support for auto callback mode, topic: auto"}),
            log.texts(kInfo));
}

TEST_F(Readers, SyncQueuesKeepTheNewestOfTheirDepth) {
  const struct {
    int depth;
    int kept;
  } cases[] = {{1, 1}, {7, 7}, {0, 1000}, {-3, 1000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.depth);
    const LogCapture log(kInfo);
    const std::string topic = "depth/" + std::to_string(c.depth);
    Inbox inbox;
    const auto reader = read(topic, inbox, sync_qos(true, c.depth));
    EXPECT_EQ(c.depth < 1, log.has(kInfo, "DDSSerializationDataReader: msg queue depth invalid: " +
                                              std::to_string(c.depth) + ", set to default. topic: " + topic));
    const auto writer = write(topic);
    publish(*writer, topic, 1, c.kept + 5);
    EXPECT_EQ(5, log.count(kError, "msg_queue_write full, queue name: [" + topic + "]"));
    EXPECT_TRUE(reader->SyncAll());
    EXPECT_EQ(numbered(6, c.kept + 5), inbox.messages());
  }
}

TEST_F(Readers, AnAutoReaderThatFallsBehindKeepsTheNewestThousand) {
  Gate gate;
  Inbox inbox;
  const auto reader = node_->CreateReader(
      "behind",
      [&](const void* data, int size, const void*) {
        inbox.add(std::string(static_cast<const char*>(data), static_cast<size_t>(size)));
        gate.wait();
      },
      Qos{}, nullptr, false);
  const auto writer = write("behind");
  publish(*writer, "behind", 0, 0);
  ASSERT_TRUE(inbox.awaits(1));
  const LogCapture log(kError);
  publish(*writer, "behind", 1, 1030);
  EXPECT_EQ(30, log.count(kError, "msg_queue_write full, queue name: [behind]"));
  gate.open();
  ASSERT_TRUE(inbox.awaits(1001));
  Texts expected = numbered(31, 1030);
  expected.insert(expected.begin(), "0");
  EXPECT_EQ(expected, inbox.messages());
}

// Samples of a reader never overtake each other or run side by side, although they arrive from two writers and are
// kicked from two threads; and none is left behind when the stream stops.
TEST_F(Readers, DeliversEverySampleOneAtATime) {
  constexpr int kPerWriter = 3000;
  std::atomic<int> inside{0};
  std::atomic<int> received{0};
  std::atomic<bool> overlapped{false};
  const auto reader = node_->CreateReader(
      "steady",
      [&](const void*, int, const void*) {
        overlapped = overlapped || ++inside != 1;
        ++received;
        --inside;
      },
      Qos{}, nullptr, false);
  std::vector<std::thread> threads;
  std::atomic<int> sent{0};
  for (int w = 0; w < 2; ++w) {
    threads.emplace_back([&] {
      const auto writer = write("steady");
      for (int i = 0; i < kPerWriter; ++i) {
        eventually([&] { return sent - received < 50; });  // Far from an overwrite, and often empty.
        sent += writer->Publish(std::string("x")) ? 1 : 0;
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(2 * kPerWriter, sent);
  EXPECT_TRUE(eventually([&] { return received == 2 * kPerWriter; })) << received;
  EXPECT_FALSE(overlapped);
}

TEST_F(Readers, ACallbackMayDestroyItsReader) {
  const struct {
    const char* topic;
    Qos qos;
  } cases[] = {{"own/auto", {}}, {"own/pooled", sync_qos(false)}, {"own/inline", sync_qos(true)}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.topic);
    std::atomic<int> calls{0};
    std::shared_ptr<RawReader> reader;
    Gate created;
    reader = node_->CreateReader(
        c.topic,
        [&](const void*, int, const void*) {
          created.wait();
          reader.reset();
          ++calls;
        },
        c.qos, nullptr, false);
    auto* const raw = reader.get();
    const auto writer = write(c.topic);
    publish(*writer, c.topic, 1, 3);
    created.open();
    if (c.qos.callback_mode != 0) {
      raw->SyncAll();
    }
    EXPECT_TRUE(eventually([&] { return calls == 1; }));
    EXPECT_TRUE(writer->Publish(std::string("nobody listens")));
    EXPECT_EQ(1, calls);
  }
}

TEST_F(Readers, DestructionWaitsForTheCallback) {
  Gate gate;
  std::atomic<bool> entered{false};
  std::atomic<bool> left{false};
  auto reader = node_->CreateReader(
      "waited",
      [&](const void*, int, const void*) {
        entered = true;
        gate.wait();
        left = true;
      },
      Qos{}, nullptr, false);
  const auto writer = write("waited");
  publish(*writer, "waited", 1, 1);
  ASSERT_TRUE(eventually([&] { return entered.load(); }));
  std::thread opener([&] { gate.open(); });
  reader.reset();
  EXPECT_TRUE(left);
  opener.join();
}

TEST_F(Readers, AnExceptionOfACallbackDoesNotHoldUpTheSamplesBehindIt) {
  std::atomic<int> calls{0};
  const auto reader = node_->CreateReader(
      "throwing",
      [&](const void*, int, const void*) {
        ++calls;
        throw std::runtime_error("boom");
      },
      Qos{}, nullptr, false);
  const LogCapture log;
  const auto writer = write("throwing");
  publish(*writer, "throwing", 1, 3);
  EXPECT_TRUE(eventually([&] { return calls == 3; }));
  EXPECT_TRUE(eventually([&] { return log.count(kError, "exception in callback: boom") == 3; }));
}

TEST_F(Readers, SlowSamplesAreLoggedExceptSmallBroadcasts) {
  const struct {
    std::string topic;
    int payload_kind;
    bool logged;
  } cases[] = {{"slow", 0, true},
               {"slow/large", kLargePayloadKind, true},
               {"slow_change_broadcast", 0, false},
               {"slow_change_broadcast/large", kLargePayloadKind, true}};
  auto* data = GlobalData::Instance();
  for (const auto& c : cases) {
    SCOPED_TRACE(c.topic);
    Qos qos;
    qos.payload_kind = c.payload_kind;
    Inbox inbox;
    const auto reader = read(c.topic, inbox, qos);
    const auto writer = write(c.topic, qos);
    const LogCapture log;
    data->setReaderSubThreshold(0);
    data->setReaderCallbackThreshold(0);
    publish(*writer, c.topic, 1, 1);
    ASSERT_TRUE(log.awaits(kDebug, "ovimux callback called end, topic: " + c.topic));
    data->setReaderSubThreshold(200);
    data->setReaderCallbackThreshold(100);
    EXPECT_EQ(c.logged, log.has(kWarning, " ms, over sub threshold 0 ms, topic: " + c.topic + ", index: 1"));
    EXPECT_TRUE(log.has(kWarning, " ms, over callback threshold, topic:" + c.topic + " , index: 1"));
  }
}

TEST_F(Readers, IncompatibleQualityIsReportedOnceBySideTopicAndPolicy) {
  const LogCapture log;
  Inbox inbox;
  const auto reader = read("picky", inbox, test::latched_qos());
  const auto first = write("picky");
  const auto second = write("picky");
  const std::string reader_text = "a writer offers less than this reader requests and stays unmatched";
  const std::string writer_text = "a reader requests more than this writer offers and stays unmatched";
  const std::string rest = ", policy: durability, topic: picky";
  EXPECT_TRUE(log.awaits(kWarning, reader_text + rest));
  EXPECT_TRUE(eventually([&] { return log.count(kWarning, writer_text + rest) == 2; })) << "once for each writer";
  EXPECT_EQ(1, log.count(kWarning, reader_text));
  EXPECT_TRUE(first->Publish(std::string("x")));
  EXPECT_EQ(0U, test::statistics_of("picky").received);
}

TEST_F(Readers, RefusalsAreExplained) {
  Qos inter_core;
  inter_core.core_kind = 1;
  RpcQos rpc_inter_core;
  rpc_inter_core.core_kind = 1;
  Inbox inbox;
  const LogCapture log(kInfo);
  EXPECT_FALSE(write("refused", inter_core));
  EXPECT_FALSE(read("refused", inbox, inter_core));
  EXPECT_FALSE(node_->CreateClient("refused", rpc_inter_core, false));
  EXPECT_EQ((Texts{"InterCore: CreateSerializationWriter to be supported.",
                   "InterCore: CreateSerializationReader to be supported.",
                   "InterCore: CreateSerializationClient to be supported."}),
            log.texts(kInfo));
  const auto small = write("one envelope");
  EXPECT_FALSE(write("one envelope", test::large_qos()));

  auto* factory = DDSNodeFactory::Instance();
  auto* handle = factory->CreateWriter("deleted", nullptr, Qos{});
  const auto deleted = handle;
  const auto message = std::make_shared<std::string>("x");
  factory->DeleteWriter(handle, true);
  EXPECT_EQ(nullptr, handle);
  EXPECT_FALSE(factory->Publish(handle, message, 1, 0, 0, 0));
  EXPECT_FALSE(factory->Publish(deleted, message, 1, 0, 0, 0));
  EXPECT_TRUE(log.has(kError, "DDSNodeFactory: writer is nullptr"));
  EXPECT_TRUE(log.has(kError, "DDSNodeFactory: writer not found in writer_map_"));
}

// Fast DDS 2.9 crashes here unless creating and deleting take turns.
TEST_F(Readers, EndpointsComeAndGoOnManyThreads) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([this, t] {
      for (int i = 0; i < 60; ++i) {
        Inbox inbox;
        const auto reader = t % 2 == 0 ? read("churn", inbox) : nullptr;
        const auto writer = write("churn");
        EXPECT_TRUE(writer->Publish(std::string("x")));
      }
    });
  }
  for (auto& thread : threads) {
    thread.join();
  }
}

// A peer whose clock is off makes every sample look late.
TEST_F(Readers, WarnOnceOfManyLateSamples) {
  Inbox inbox;
  const auto reader = read("late", inbox);
  const auto writer = write("late");
  GlobalData::Instance()->setReaderSubThreshold(0);
  const LogCapture log;
  for (int i = 0; i < 50; ++i) {
    ASSERT_TRUE(writer->Publish(std::string("x")));
  }
  ASSERT_TRUE(inbox.awaits(50));
  GlobalData::Instance()->setReaderSubThreshold(200);
  EXPECT_EQ(1, log.count(kWarning, "over sub threshold"));
}

TEST_F(Readers, AgeOfALatchedSampleSaysNothingToALateJoiner) {
  const auto writer = write("latched", test::latched_qos());
  ASSERT_TRUE(writer->Publish(std::string("old")));
  std::this_thread::sleep_for(std::chrono::milliseconds(250));  // Older than the threshold.
  const LogCapture log;
  Inbox inbox;
  const auto reader = read("latched", inbox, test::latched_qos());
  ASSERT_TRUE(inbox.awaits(1));
  EXPECT_EQ(0, log.count(kWarning, "over sub threshold"));
}

}  // namespace
}  // namespace norvik::ovimux
