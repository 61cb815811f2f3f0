#include "dds/envelope/envelope_codec.hpp"

#include <array>
#include <cstring>

namespace norvik::ovimux {
namespace {

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "the codec writes its own byte order as little endian");

// Representation identifiers of plain CDR, the second byte of the encapsulation.
constexpr uint8_t kBigEndian = 0;
constexpr uint8_t kLittleEndian = 1;

// Offsets behind the encapsulation follow from CDR alignment; the flag is padded to four bytes.
class FieldWriter {
 public:
  explicit FieldWriter(uint8_t* position) : position_(position) {}

  template <typename T>
  void put(T value) {
    static_assert(sizeof(T) == 4);
    std::memcpy(position_, &value, sizeof(T));
    position_ += sizeof(T);
  }

 private:
  uint8_t* position_;
};

class FieldReader {
 public:
  FieldReader(const uint8_t* position, bool swap) : position_(position), swap_(swap) {}

  template <typename T>
  void get(T& value) {
    static_assert(sizeof(T) == 4);
    uint32_t raw = 0;
    std::memcpy(&raw, position_, sizeof(raw));
    if (swap_) {
      raw = __builtin_bswap32(raw);
    }
    std::memcpy(&value, &raw, sizeof(raw));
    position_ += sizeof(T);
  }

  void get_flag(bool& value) {
    value = *position_ != 0;
    position_ += 4;
  }

 private:
  const uint8_t* position_;
  const bool swap_;
};

size_t payload_size(const Envelope& envelope) {
  return envelope.source != nullptr ? static_cast<size_t>(envelope.pkg_len) : envelope.raw_data.size();
}

bool write_payload(const Envelope& envelope, uint8_t* target, size_t size) {
  if (envelope.source != nullptr) {
    return envelope.source->write_to(target, size);
  }
  if (size > 0) {
    std::memcpy(target, envelope.raw_data.data(), size);
  }
  return true;
}

void read_payload(const uint8_t* payload, size_t size, Envelope& envelope) {
  const BulkPart part = envelope.find_bulk != nullptr ? envelope.find_bulk(payload, size) : BulkPart{};
  const uint8_t* const content = payload + part.content.offset;
  envelope.bulk.assign(content, content + part.content.size);
  envelope.raw_data.assign(payload, payload + (part.whole.size > 0 ? part.whole.offset : size));
  if (part.whole.size > 0) {
    envelope.raw_data.insert(envelope.raw_data.end(), payload + part.whole.offset + part.whole.size, payload + size);
  }
  envelope.payload_size = size;
}

}  // namespace

size_t encode_envelope(const Envelope& envelope, size_t bound, uint8_t* buffer, size_t capacity) {
  const size_t size = payload_size(envelope);
  if (size > bound || capacity < kEnvelopeHeaderSize + size) {
    return 0;
  }
  constexpr std::array<uint8_t, 4> kEncapsulation = {0, kLittleEndian, 0, 0};
  std::memcpy(buffer, kEncapsulation.data(), kEncapsulation.size());
  FieldWriter fields(buffer + kEncapsulation.size());
  fields.put(envelope.token);
  fields.put(envelope.pid);
  fields.put(envelope.tid);
  fields.put(envelope.seq);
  fields.put(envelope.rpc_seq);
  fields.put(envelope.timestamp_sec);
  fields.put(envelope.timestamp_nsec);
  fields.put(envelope.crc);
  fields.put(envelope.pkg_len);
  fields.put(static_cast<uint32_t>(envelope.segment_flag ? 1 : 0));
  fields.put(envelope.segment_total_num);
  fields.put(envelope.segment_cur_seq);
  fields.put(static_cast<uint32_t>(size));
  return write_payload(envelope, buffer + kEnvelopeHeaderSize, size) ? kEnvelopeHeaderSize + size : 0;
}

bool decode_envelope(const uint8_t* buffer, size_t length, size_t bound, Envelope& envelope) {
  if (length < kEnvelopeHeaderSize || buffer[0] != 0 || buffer[1] > kLittleEndian) {
    return false;
  }
  FieldReader fields(buffer + 4, buffer[1] == kBigEndian);
  fields.get(envelope.token);
  fields.get(envelope.pid);
  fields.get(envelope.tid);
  fields.get(envelope.seq);
  fields.get(envelope.rpc_seq);
  fields.get(envelope.timestamp_sec);
  fields.get(envelope.timestamp_nsec);
  fields.get(envelope.crc);
  fields.get(envelope.pkg_len);
  fields.get_flag(envelope.segment_flag);
  fields.get(envelope.segment_total_num);
  fields.get(envelope.segment_cur_seq);
  uint32_t size = 0;
  fields.get(size);
  if (size > bound || size > length - kEnvelopeHeaderSize) {
    return false;
  }
  read_payload(buffer + kEnvelopeHeaderSize, size, envelope);
  return true;
}

}  // namespace norvik::ovimux
