// Topics between two processes.
#include <google/protobuf/wrappers.pb.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <limits>
#include <sstream>

#include "dds/envelope/envelope_codec.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/role_attributes.pb.h"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using test::eventually;
using test::Inbox;
using test::LogCapture;
using test::PeerProcess;

class Topics : public test::WireTest {
 protected:
  // Publishes probes until one comes back through the peer.
  static bool connect(RawWriter& writer, const Inbox& inbox) {
    return eventually([&] {
      writer.Publish(std::string("probe"));
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
      return inbox.connected();
    });
  }
  bool connect_to_peer(const std::string& topic, const Inbox& inbox) {
    return eventually([&] {
      peer_.ask("publish " + topic + " probe 0 1");
      return inbox.connected();
    });
  }

  PeerProcess peer_{OVIMUX_WIRE_PEER};
};

struct BoundCase {
  const char* name;
  int payload_kind;
  size_t bound;
};

class Bounds : public Topics, public ::testing::WithParamInterface<BoundCase> {};

TEST_P(Bounds, AreEnforcedOnTheWayThroughAnotherProcess) {
  const auto& c = GetParam();
  const std::string topic = std::string("bounds/") + c.name;
  Qos qos;
  qos.payload_kind = c.payload_kind;
  ASSERT_EQ("ok", peer_.ask("relay " + topic + " " + topic + "/back " + std::to_string(c.payload_kind)));
  Inbox inbox;
  const auto reader = read(topic + "/back", inbox, qos);
  const auto writer = write(topic, qos);
  ASSERT_TRUE(connect(*writer, inbox));
  std::vector<std::string> sent;
  for (const size_t size : {size_t{0}, size_t{1}, size_t{65536}, c.bound}) {
    sent.emplace_back(size, static_cast<char>('a' + size % 26));
    EXPECT_TRUE(writer->Publish(sent.back()));
    ASSERT_TRUE(inbox.awaits(sent.size())) << size;
  }
  const LogCapture log;
  EXPECT_FALSE(writer->Publish(std::string(c.bound + 1, 'x')));
  EXPECT_EQ((std::vector<std::string>{std::string("DDSNodeFactory: write len out of ") + c.name +
                                      " bound, len: " + std::to_string(c.bound + 1) + ", topic: " + topic}),
            log.texts(kError));
  sent.emplace_back("after");
  EXPECT_TRUE(writer->Publish(sent.back()));
  EXPECT_TRUE(inbox.awaits(sent.size()));
  EXPECT_TRUE(sent == inbox.messages());
}

INSTANTIATE_TEST_SUITE_P(Envelopes, Bounds,
                         ::testing::Values(BoundCase{"64k", 0, 65536}, BoundCase{"10m", kLargePayloadKind, 10485100}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Topics, CarryMessagesAndHandBackTheContext) {
  ASSERT_EQ("ok", peer_.ask("relay typed typed/back 0"));
  const int context = 0;
  std::atomic<bool> context_kept{false};
  std::atomic<bool> message_kept{false};
  using Message = google::protobuf::StringValue;
  const auto reader = node_->CreateReader<Message>(
      "typed/back",
      [&](const std::shared_ptr<Message>& message, const void* ctx) {
        context_kept = ctx == &context;
        message_kept = message->value() == "grüße";
      },
      Qos{}, &context);
  const auto writer = node_->CreateWriter<Message>("typed", Qos{});
  Message message;
  message.set_value("grüße");
  EXPECT_TRUE(eventually([&] {
    EXPECT_TRUE(writer->Publish(message));
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
    return context_kept && message_kept;
  }));
}

TEST_F(Topics, LateJoinerGetsTheLastLatchedSample) {
  ASSERT_EQ("ok", peer_.ask("writer latched 0 1"));
  ASSERT_EQ("3", peer_.ask("publish latched old 1 3"));
  Inbox late;
  Inbox live;
  const auto reader = read("latched", late, test::latched_qos());
  const auto volatile_reader = read("latched", live);
  ASSERT_TRUE(late.awaits(1));
  ASSERT_TRUE(connect_to_peer("latched", live)) << "a reader that does not ask for the past matches too";
  EXPECT_EQ((std::vector<std::string>{"old3"}), late.messages());
  EXPECT_EQ(0U, live.size());
}

// What a peer that knows the type's name but not its layout can do to a reader.
TEST_F(Topics, MalformedSamplesAreDroppedAndTheStreamGoesOn) {
  const auto envelope_of = [](const std::string& text) {
    Envelope envelope;
    envelope.raw_data.assign(text.begin(), text.end());
    envelope.pkg_len = static_cast<int32_t>(text.size());
    return envelope;
  };
  const auto hex = [](const Envelope& envelope, size_t cut) {
    std::vector<uint8_t> bytes(kEnvelopeHeaderSize + envelope.raw_data.size());
    encode_envelope(envelope, kSmallPayloadBound, bytes.data(), bytes.size());
    std::string text;
    for (size_t i = 0; i + cut < bytes.size(); ++i) {
      const char* digits = "0123456789abcdef";
      text += {digits[bytes[i] >> 4U], digits[bytes[i] & 15U]};
    }
    return text;
  };
  Inbox inbox;
  const auto reader = read("forged", inbox);
  ASSERT_TRUE(eventually([&] {
    peer_.ask("forge forged " + hex(envelope_of("probe"), 0));
    return inbox.connected();
  }));

  const Envelope good = envelope_of("good");
  Envelope longer = good;
  longer.pkg_len = 5;
  Envelope shorter = good;
  shorter.pkg_len = 3;
  Envelope negative = good;
  negative.pkg_len = -4;
  // Cuts are beyond three bytes: DDS fills a submessage up to four.
  const std::string bad[] = {hex(longer, 0), hex(shorter, 0),      hex(negative, 0),
                             hex(good, 4),   hex(good, 10),        "00010000",
                             "ff",           std::string(400, 'f')};
  const LogCapture log;
  for (const auto& bytes : bad) {
    ASSERT_EQ("ok", peer_.ask("forge forged " + bytes));
  }
  ASSERT_EQ("ok", peer_.ask("forge forged " + hex(good, 0)));
  ASSERT_TRUE(inbox.awaits(1));
  EXPECT_EQ((std::vector<std::string>{"good"}), inbox.messages());
  EXPECT_EQ(static_cast<int>(std::size(bad)),
            log.count(kError, "DDSSubSerializationListener: data vector check failed, topic: forged"));
}

std::vector<std::string> topics_announced_by(int pid) {
  std::vector<std::string> result;
  for (const auto& process : Manager::Instance()->Snapshot()) {
    for (const auto& role : process->roles()) {
      if (process->process_id() == pid) {
        result.push_back(role.channel_name() + ":" + std::to_string(role.role_type()) + ":" + role.message_type());
      }
    }
  }
  return result;
}

TEST_F(Topics, TopologyShowsAPeerUntilItIsKilled) {
  using Names = std::vector<std::string>;
  ASSERT_EQ("ok", peer_.ask("relay shown shown/back 0"));
  const Names expected = {"shown/back:2:raw", "shown:3:raw"};
  EXPECT_TRUE(eventually([&] { return topics_announced_by(peer_.pid()) == expected; }));
  ASSERT_EQ("ok", peer_.ask("writer shown/later 0 0"));
  EXPECT_TRUE(eventually([&] { return topics_announced_by(peer_.pid()).size() == 3; }));
  {
    const auto mine = node_->CreateWriter<google::protobuf::StringValue>("mine", Qos{});
    const Names named = {"mine:2:google.protobuf.StringValue"};
    EXPECT_TRUE(eventually([&] { return topics_announced_by(getpid()) == named; }));
  }
  EXPECT_TRUE(eventually([&] { return topics_announced_by(getpid()).empty(); })) << "a destroyed endpoint stays listed";
  peer_.kill(SIGKILL);
  EXPECT_TRUE(eventually([&] { return topics_announced_by(peer_.pid()).empty(); }));
}

// While the reader's process stands still, large messages use up what the transport can hold: everything of the fast
// stream that is sent then has to wait in the writer's history.
TEST_F(Topics, AFastStreamOfSmallMessagesOutlastsAReaderThatStandsStill) {
  constexpr int kMessages = 250;
  Qos fast = test::large_qos();
  fast.opaque_26 = 300;
  const auto stream = write("fast/stream", fast);
  const auto bulk = write("fast/bulk", test::large_qos());
  const auto counted = [this](const std::string& topic) {
    std::istringstream answer(peer_.ask("count " + topic + " 6"));
    std::pair<int, int> probes_and_messages;
    answer >> probes_and_messages.first >> probes_and_messages.second;
    return probes_and_messages;
  };
  ASSERT_TRUE(eventually([&] {
    bulk->Publish(std::string("probe"));
    stream->Publish(std::string("probe"));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return counted("fast/stream").first > 0 && counted("fast/bulk").first > 0;
  }));
  peer_.kill(SIGSTOP);
  for (int i = 0; i < 12; ++i) {
    bulk->Publish(std::string(4'000'000, 'x'));
  }
  for (int i = 0; i < kMessages; ++i) {
    stream->Publish(std::string(200, 'x'));
  }
  peer_.kill(SIGCONT);
  EXPECT_TRUE(eventually([&] { return counted("fast/stream").second == kMessages; })) << counted("fast/stream").second;
}

long resident_bytes() {
  long pages = 0;
  std::ifstream statm("/proc/self/statm");
  statm >> pages >> pages;
  return pages * sysconf(_SC_PAGESIZE);
}

// Ten megabytes for one slot of one history would already break the limit. What else goes on in the process, such as a
// new segment for a peer that has just been restarted, may disturb one look but not all; the readers of all looks stay.
TEST_F(Topics, LargeReadersReserveNothing) {
  Inbox inbox;
  std::vector<std::shared_ptr<RawReader>> readers{read("large/first", inbox, test::large_qos())};
  long least = std::numeric_limits<long>::max();
  for (int look = 0; look < 3; ++look) {
    const long before = resident_bytes();
    for (int i = 0; i < 30; ++i) {
      readers.push_back(read("large/" + std::to_string(readers.size()), inbox, test::large_qos()));
      ASSERT_TRUE(readers.back());
    }
    least = std::min(least, resident_bytes() - before);
  }
  RecordProperty("grown_bytes", std::to_string(least));
  EXPECT_LT(least, 8L << 20);
}

}  // namespace
}  // namespace norvik::ovimux
