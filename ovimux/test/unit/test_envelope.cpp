#include <gtest/gtest.h>

#include "dds/envelope/envelope_codec.hpp"
#include "dds/envelope/envelope_type.hpp"
#include "ovimux/dds/bulk_message.hpp"

namespace norvik::ovimux {
namespace {

using Bytes = std::vector<uint8_t>;

// One sample as it stands on the wire, XCDR1, in both byte orders.
const Bytes kLittleEndianSample = {0x00, 0x01, 0x00, 0x00,                     // encapsulation
                                   0x04, 0x03, 0x02, 0x01,                     // token 0x01020304
                                   0xfe, 0xff, 0xff, 0xff,                     // pid -2
                                   0x0c, 0x0b, 0x0a, 0x09,                     // tid 0x090a0b0c
                                   0x10, 0x0f, 0x0e, 0xfd,                     // seq 0xfd0e0f10
                                   0x14, 0x13, 0x12, 0x11,                     // rpc_seq 0x11121314
                                   0x18, 0x17, 0x16, 0x15,                     // timestamp_sec 0x15161718
                                   0x1c, 0x1b, 0x1a, 0x19,                     // timestamp_nsec 0x191a1b1c
                                   0x20, 0x1f, 0x1e, 0x1d,                     // crc 0x1d1e1f20
                                   0x03, 0x00, 0x00, 0x00,                     // pkg_len 3
                                   0x01, 0x00, 0x00, 0x00,                     // segment_flag, padded
                                   0x28, 0x27, 0x26, 0x25,                     // segment_total_num 0x25262728
                                   0x2c, 0x2b, 0x2a, 0x29,                     // segment_cur_seq 0x292a2b2c
                                   0x03, 0x00, 0x00, 0x00, 0xaa, 0xbb, 0xcc};  // raw_data
const Bytes kBigEndianSample = {0x00, 0x00, 0x00, 0x00, 0x01, 0x02, 0x03, 0x04, 0xff, 0xff, 0xff, 0xfe,
                                0x09, 0x0a, 0x0b, 0x0c, 0xfd, 0x0e, 0x0f, 0x10, 0x11, 0x12, 0x13, 0x14,
                                0x15, 0x16, 0x17, 0x18, 0x19, 0x1a, 0x1b, 0x1c, 0x1d, 0x1e, 0x1f, 0x20,
                                0x00, 0x00, 0x00, 0x03, 0x01, 0x00, 0x00, 0x00, 0x25, 0x26, 0x27, 0x28,
                                0x29, 0x2a, 0x2b, 0x2c, 0x00, 0x00, 0x00, 0x03, 0xaa, 0xbb, 0xcc};

constexpr size_t kFlagOffset = 40;
constexpr size_t kSizeOffset = 52;

Envelope sample() {
  Envelope envelope;
  envelope.token = 0x01020304;
  envelope.pid = -2;
  envelope.tid = 0x090a0b0c;
  envelope.seq = 0xfd0e0f10;
  envelope.rpc_seq = 0x11121314;
  envelope.timestamp_sec = 0x15161718;
  envelope.timestamp_nsec = 0x191a1b1c;
  envelope.crc = 0x1d1e1f20;
  envelope.pkg_len = 3;
  envelope.segment_flag = true;
  envelope.segment_total_num = 0x25262728;
  envelope.segment_cur_seq = 0x292a2b2c;
  envelope.raw_data = {0xaa, 0xbb, 0xcc};
  return envelope;
}

auto fields(const Envelope& e) {
  return std::tie(e.token, e.pid, e.tid, e.seq, e.rpc_seq, e.timestamp_sec, e.timestamp_nsec, e.crc, e.pkg_len,
                  e.segment_flag, e.segment_total_num, e.segment_cur_seq, e.raw_data);
}

Bytes encode(const Envelope& envelope, size_t bound = kSmallPayloadBound) {
  Bytes buffer(kEnvelopeHeaderSize + envelope.raw_data.size());
  buffer.resize(encode_envelope(envelope, bound, buffer.data(), buffer.size()));
  return buffer;
}

bool decode(const Bytes& bytes, Envelope& envelope, size_t bound = kSmallPayloadBound) {
  // Without spare capacity, so that a sanitizer sees the first byte read too many.
  const Bytes exact(bytes);  // NOLINT(performance-unnecessary-copy-initialization)
  return decode_envelope(exact.data(), exact.size(), bound, envelope);
}

TEST(Envelope, HasOneExactLayoutAndReadsBothByteOrders) {
  EXPECT_EQ(kLittleEndianSample, encode(sample()));
  for (const auto& bytes : {kLittleEndianSample, kBigEndianSample}) {
    Envelope envelope;
    ASSERT_TRUE(decode(bytes, envelope));
    EXPECT_EQ(fields(sample()), fields(envelope));
  }
}

TEST(Envelope, EnforcesItsBoundInBothDirections) {
  for (const size_t bound : {size_t{kSmallPayloadBound}, size_t{kLargePayloadBound}}) {
    SCOPED_TRACE(bound);
    Envelope envelope;
    envelope.raw_data.assign(bound, 7);
    envelope.pkg_len = static_cast<int32_t>(bound);
    const Bytes bytes = encode(envelope, bound);
    ASSERT_EQ(kEnvelopeHeaderSize + bound, bytes.size());
    Envelope decoded;
    EXPECT_TRUE(decode(bytes, decoded, bound));
    EXPECT_EQ(fields(envelope), fields(decoded));
    EXPECT_FALSE(decode(bytes, decoded, bound - 1));
    envelope.raw_data.push_back(7);
    EXPECT_TRUE(encode(envelope, bound).empty());
  }
  Bytes buffer(kLittleEndianSample.size() - 1);
  EXPECT_EQ(0U, encode_envelope(sample(), kSmallPayloadBound, buffer.data(), buffer.size()));
}

class Source : public PayloadSource {
 public:
  explicit Source(bool works) : works_(works) {}
  bool write_to(uint8_t* target, size_t size) const override {
    std::fill_n(target, size, uint8_t{0x55});
    return works_;
  }

 private:
  const bool works_;
};

TEST(Envelope, TakesItsPayloadFromASource) {
  for (const bool works : {true, false}) {
    const Source source(works);
    Envelope envelope;
    envelope.source = &source;
    envelope.pkg_len = 2;
    Bytes buffer(kEnvelopeHeaderSize + 2);
    EXPECT_EQ(works ? buffer.size() : 0, encode_envelope(envelope, kSmallPayloadBound, buffer.data(), buffer.size()));
    EXPECT_EQ((Bytes{0x55, 0x55}), Bytes(buffer.end() - 2, buffer.end()));
  }
}

TEST(Envelope, RefusesWhatIsTruncatedOrNoEnvelope) {
  Envelope envelope;
  for (size_t length = 0; length < kLittleEndianSample.size(); ++length) {
    SCOPED_TRACE(length);
    const auto begin = kLittleEndianSample.begin();
    EXPECT_FALSE(decode(Bytes(begin, begin + static_cast<std::ptrdiff_t>(length)), envelope));
  }
  const struct {
    size_t offset;
    Bytes bytes;
    bool valid;
  } changes[] = {
      {0, {1}, false},                                 // no encapsulation
      {1, {2}, false},                                 // parameter list
      {1, {7}, false},                                 // a newer representation
      {kSizeOffset, {4, 0, 0, 0}, false},              // one more than there is
      {kSizeOffset, {0xff, 0xff, 0xff, 0xff}, false},  // would wrap with the header
      {kSizeOffset, {0xc8, 0xff, 0xff, 0xff}, false},  // 2^32 - header size
      {kSizeOffset, {1, 0, 1, 0}, false},              // above the bound
      {kSizeOffset, {2, 0, 0, 0}, true},               // padding behind the payload
      {2, {0, 3}, true},                               // a padding count in the options
      {kFlagOffset + 1, {9, 9, 9}, true},              // padding of any value
  };
  for (const auto& change : changes) {
    SCOPED_TRACE("offset " + std::to_string(change.offset) + " := " + std::to_string(change.bytes[0]));
    Bytes bytes = kLittleEndianSample;
    std::copy(change.bytes.begin(), change.bytes.end(), bytes.begin() + static_cast<std::ptrdiff_t>(change.offset));
    EXPECT_EQ(change.valid, decode(bytes, envelope));
  }
}

TEST(EnvelopeType, NamesItsTypesAndTurnsMalformedPayloadsIntoDroppableOnes) {
  EXPECT_STREQ("ovimux_idl::data64k", EnvelopeType(false).getName());
  EXPECT_STREQ("ovimux_idl::data10m", EnvelopeType(true).getName());
  EnvelopeType type(false);
  Envelope envelope = sample();
  eprosima::fastrtps::rtps::SerializedPayload_t payload(type.getSerializedSizeProvider(&envelope)());
  ASSERT_EQ(kLittleEndianSample.size(), payload.max_size);
  ASSERT_TRUE(type.serialize(&envelope, &payload));
  EXPECT_EQ(kLittleEndianSample, Bytes(payload.data, payload.data + payload.length));
  payload.length -= 1;
  Envelope received;
  EXPECT_TRUE(type.deserialize(&payload, &received));
  EXPECT_EQ(-1, received.pkg_len);
  EXPECT_TRUE(received.raw_data.empty());
}

TEST(BufferRecycler, KeepsFewLargeBuffersAndMoreOfOthers) {
  struct Case {
    size_t size;
    int kept;
  };
  for (const auto& [size, kept] : {Case{100, 0}, Case{65536, 8}, Case{1000000, 2}}) {
    SCOPED_TRACE(size);
    BufferRecycler recycler;
    for (int i = 0; i < 20; ++i) {
      recycler.give(Bytes(size));
    }
    for (int i = 0; i < kept; ++i) {
      EXPECT_EQ(recycler.take().capacity(), size);
    }
    EXPECT_EQ(recycler.take().capacity(), 0U);
  }
}

TEST(BufferRecycler, TakesTheLargePartOfAMessageThatNobodyWanted) {
  const auto recycler = std::make_shared<BufferRecycler>();
  {
    BulkMessage<std::string, 1> message;
    message.recycler = recycler;
    message.bulk.resize(10000);
  }
  EXPECT_EQ(recycler->take().capacity(), 10000U);
}

// The pieces of a message: field 1 a varint, field 2 a string, field 3 bytes, field 4 a group.
const std::string kNumber = std::string("\x08\x96\x01");
const std::string kText = std::string("\x12\x02hi");
const std::string kContent(200, 'p');
const std::string kBulk = std::string("\x1a\xc8\x01") + kContent;
const std::string kGroup = std::string("\x23\x08\x01\x24");
const std::string kEmptyBulk = std::string("\x1a\0", 2);

TEST(Bulk, IsFoundWhereThereIsOne) {
  for (const auto& [before, after] : std::vector<std::pair<std::string, std::string>>{
           {"", ""}, {kNumber + kText, ""}, {"", kGroup + kNumber}, {kGroup + kText, kText + kNumber}}) {
    const std::string payload = std::string(before).append(kBulk).append(after);
    SCOPED_TRACE(::testing::PrintToString(payload));
    Envelope envelope;
    envelope.raw_data.assign(payload.begin(), payload.end());
    envelope.pkg_len = static_cast<int32_t>(payload.size());
    Envelope received;
    received.find_bulk = [](const uint8_t* data, size_t size) { return find_bytes_field(data, size, 3); };
    ASSERT_TRUE(decode(encode(envelope), received));
    EXPECT_EQ(std::string(received.raw_data.begin(), received.raw_data.end()), before + after);
    EXPECT_EQ(std::string(received.bulk.begin(), received.bulk.end()), kContent);
    EXPECT_EQ(received.payload_size, payload.size());
  }
}

// Such payloads are left to the parser in one piece.
TEST(Bulk, IsLeftInAnythingUnusual) {
  const std::string payloads[] = {
      "",
      kNumber,
      kEmptyBulk,
      kBulk + kBulk,                                   // The last one counts, which the parser knows.
      kBulk.substr(0, kBulk.size() - 1),               // Ends too early.
      kBulk + "\x12\x05hi",                            // Another field does.
      kBulk + "\x24",                                  // The end of no group.
      kBulk + std::string("\0", 1),                    // No field.
      "\x1a\xff\xff\xff\xff\x0f" + kContent,           // A length of 4 GB,
      "\x1a\xff\xff\xff\xff\xff\xff\xff\xff\xff\x01",  // and a negative one.
      std::string("\x1d") + "abcd",                    // The number of the field, but a fixed 32-bit value.
  };
  for (const std::string& payload : payloads) {
    const std::vector<uint8_t> exact(payload.begin(), payload.end());
    const BulkPart part = find_bytes_field(exact.data(), exact.size(), 3);
    EXPECT_EQ(part.whole.size, 0U) << ::testing::PrintToString(payload);
    EXPECT_EQ(part.content.size, 0U) << ::testing::PrintToString(payload);
  }
}

}  // namespace
}  // namespace norvik::ovimux
