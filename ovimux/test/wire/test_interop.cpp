// Messages to and from a process that uses another vendor's DDS, compiled from our IDL.
#include <sys/wait.h>
#include <unistd.h>
#include <fastdds/dds/subscriber/DataReader.hpp>
#include <fastdds/dds/subscriber/SampleInfo.hpp>
#include <fastdds/dds/subscriber/Subscriber.hpp>
#include <fastdds/dds/topic/Topic.hpp>

#include <cstdlib>

#include "dds/endpoint_qos.hpp"
#include "dds/envelope/envelope_codec.hpp"
#include "dds/envelope/envelope_type.hpp"
#include "dds/participant.hpp"
#include "ovimux/dds/dds_tools.hpp"
#include "support/wire_fixture.hpp"

namespace norvik::ovimux {
namespace {

using test::eventually;
using test::Inbox;

using Bytes = std::vector<uint8_t>;

// The envelope type, but its samples are the serialised bytes as they arrived.
class CapturingType : public EnvelopeType {
 public:
  using EnvelopeType::EnvelopeType;
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override {
    static_cast<Bytes*>(data)->assign(payload->data, payload->data + payload->length);
    return true;
  }
  void* createData() override { return new Bytes; }
  void deleteData(void* data) override { delete static_cast<Bytes*>(data); }
};

// A reader of its own participant that hands out serialised samples.
class Capture {
 public:
  Capture(const std::string& topic, bool large)
      : factory_(eprosima::fastdds::dds::DomainParticipantFactory::get_shared_instance()),
        participant_(create_participant(*factory_)) {
    auto* type = new CapturingType(large);
    eprosima::fastdds::dds::TypeSupport(type).register_type(participant_);
    auto* subscriber = participant_->create_subscriber(eprosima::fastdds::dds::SUBSCRIBER_QOS_DEFAULT);
    auto* dds_topic = participant_->create_topic(topic, type->getName(), eprosima::fastdds::dds::TOPIC_QOS_DEFAULT);
    reader_ = subscriber->create_datareader(dds_topic, make_reader_qos({large, false, 8}));
  }
  ~Capture() {
    participant_->delete_contained_entities();
    factory_->delete_participant(participant_);
  }
  Capture(const Capture&) = delete;
  Capture& operator=(const Capture&) = delete;

  bool take(Bytes& bytes) {
    eprosima::fastdds::dds::SampleInfo info;
    return reader_->take_next_sample(&bytes, &info) == eprosima::fastrtps::types::ReturnCode_t::RETCODE_OK;
  }

 private:
  std::shared_ptr<eprosima::fastdds::dds::DomainParticipantFactory> factory_;
  eprosima::fastdds::dds::DomainParticipant* participant_;
  eprosima::fastdds::dds::DataReader* reader_;
};

struct InteropCase {
  const char* envelope;
  int payload_kind;
  size_t bound;
  std::vector<size_t> sizes;
};

class Interop : public test::WireTest, public ::testing::WithParamInterface<InteropCase> {};

std::string domain() {
  const char* text = std::getenv("OVIMUX_DOMAIN_ID");
  return text != nullptr ? text : "0";
}

TEST_P(Interop, MessagesReturnFromAnotherVendorsDdsAndItsBytesAreOurs) {
  setenv("CYCLONEDDS_URI",
         "<CycloneDDS><Domain><General><Interfaces><NetworkInterface name=\"lo\"/></Interfaces>"
         "<AllowMulticast>false</AllowMulticast></General><Discovery><ParticipantIndex>auto</ParticipantIndex>"
         "<MaxAutoParticipantIndex>60</MaxAutoParticipantIndex><Peers><Peer address=\"127.0.0.1\"/></Peers>"
         "</Discovery></Domain></CycloneDDS>",
         1);
  const auto& c = GetParam();
  Qos qos;
  qos.payload_kind = c.payload_kind;
  const std::string in = std::string("interop/in") + c.envelope;
  const std::string out = std::string("interop/out") + c.envelope;
  Inbox inbox;
  Capture capture(out, c.payload_kind == kLargePayloadKind);
  const auto reader = read(out, inbox, qos);
  const auto writer = write(in, qos);
  test::PeerProcess peer(OVIMUX_CYCLONE_PEER, {domain()});
  int sent = 0;
  Bytes bytes;
  ASSERT_TRUE(eventually([&] {
    ++sent;
    writer->Publish(std::string("probe"));
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    return inbox.connected() && capture.take(bytes);
  }));
  for (const size_t size : c.sizes) {
    SCOPED_TRACE(size);
    const size_t before = inbox.size();
    std::string message(size, 'm');
    message[size / 2] = '\0';
    ASSERT_TRUE(writer->Publish(message));
    ++sent;
    ASSERT_TRUE(inbox.awaits(before + 1));
    EXPECT_TRUE(inbox.messages().back() == message);

    Envelope envelope;
    ASSERT_TRUE(eventually([&] {
      return capture.take(bytes) && decode_envelope(bytes.data(), bytes.size(), c.bound, envelope) &&
             envelope.raw_data.size() == size;
    }));
    EXPECT_EQ(getpid(), envelope.pid);
    EXPECT_EQ(static_cast<uint32_t>(sent), envelope.seq);
    EXPECT_EQ(0U, envelope.rpc_seq);
    EXPECT_EQ(0U, envelope.crc);
    EXPECT_EQ(static_cast<int32_t>(size), envelope.pkg_len);
    EXPECT_EQ(std::make_tuple(false, 1, 0),
              std::make_tuple(envelope.segment_flag, envelope.segment_total_num, envelope.segment_cur_seq));
    Bytes ours(kEnvelopeHeaderSize + size);
    ASSERT_EQ(ours.size(), encode_envelope(envelope, c.bound, ours.data(), ours.size()));
    // The other side pads to four bytes and counts the padding in the encapsulation's options.
    ASSERT_GE(bytes.size(), ours.size());
    EXPECT_LT(bytes.size(), ours.size() + 4);
    ours[3] = bytes[3] = 0;
    bytes.resize(ours.size());
    EXPECT_TRUE(ours == bytes);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Envelopes, Interop,
    ::testing::Values(InteropCase{"64k", 0, kSmallPayloadBound, {1, 256, 4097, 65536}},
                      InteropCase{"10m", kLargePayloadKind, kLargePayloadBound, {1, 256, 65537, 1500001, 10485100}}),
    [](const auto& row) { return row.param.envelope; });

}  // namespace
}  // namespace norvik::ovimux
