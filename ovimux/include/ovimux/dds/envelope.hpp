#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace norvik::ovimux {

// Largest serialised message of each envelope type, in bytes. The large bound is not 10 MiB.
inline constexpr int32_t kSmallPayloadBound = 65536;
inline constexpr int32_t kLargePayloadBound = 10485100;

// The names of the envelopes as DDS types.
inline constexpr const char* kSmallEnvelopeName = "ovimux_idl::data64k";
inline constexpr const char* kLargeEnvelopeName = "ovimux_idl::data10m";

// What writes a message straight into the buffer that DDS sends, which saves a copy of the payload.
class PayloadSource {
 public:
  virtual ~PayloadSource() = default;
  // Writes exactly `size` bytes; false if the message does not fill them.
  virtual bool write_to(uint8_t* target, size_t size) const = 0;
};

// A part of a payload, in bytes from its start. An empty one is no part.
struct PayloadPart {
  size_t offset = 0;
  size_t size = 0;
};

// How the large part of a payload of one message type lies in it: `whole` with the encoding around it, `content`
// without.
struct BulkPart {
  PayloadPart whole;
  PayloadPart content;
};
using FindBulk = BulkPart (*)(const uint8_t* payload, size_t size);

// One sample of a topic: a serialised message with its sender and time.
struct Envelope {
  int32_t token = 0;           // Identifies the sender.
  int32_t pid = 0;             // Process of the sender.
  int32_t tid = 0;             // Thread that created the sending endpoint.
  uint32_t seq = 0;            // Running index of the writer.
  uint32_t rpc_seq = 0;        // 0 on a plain topic; on a service the key of correlation.
  uint32_t timestamp_sec = 0;  // Wall clock when the sample was formed.
  uint32_t timestamp_nsec = 0;
  uint32_t crc = 0;  // Always 0.
  int32_t pkg_len = 0;
  bool segment_flag = false;  // Messages always travel in one piece.
  int32_t segment_total_num = 1;
  int32_t segment_cur_seq = 0;
  std::vector<uint8_t> raw_data;

  // Not on the wire. When set, it stands for raw_data on sending and writes pkg_len bytes.
  const PayloadSource* source = nullptr;

  // Not on the wire. When set, the large part of a payload that arrives goes to `bulk` and only the rest to raw_data,
  // so that a large sample is copied once.
  FindBulk find_bulk = nullptr;
  std::vector<uint8_t> bulk;
  size_t payload_size = 0;  // Of the sample that arrived, both parts and the encoding between them.
};

}  // namespace norvik::ovimux
