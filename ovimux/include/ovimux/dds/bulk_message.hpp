#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Where the bytes field number `field` lies in a serialised message. Nothing when it is absent, empty, or there more
// than once, or when the payload is no message: such a payload stays in one piece.
OVIMUX_EXPORT BulkPart find_bytes_field(const uint8_t* payload, size_t size, int field);

// A received message of type T whose bytes field number `Field` carries nearly everything, as a picture's pixels do.
// On the way from the wire that field is copied once, into `bulk`; it is empty in `message` then. A payload that had to
// stay in one piece has the field in `message`, and no `bulk`.
template <typename T, int Field>
struct BulkMessage {
  T message;
  std::vector<uint8_t> bulk;
};

template <typename T, int Field>
struct PayloadCodec<BulkMessage<T, Field>> {
  using Message = BulkMessage<T, Field>;

  static BulkPart find_bulk(const uint8_t* payload, size_t size) { return find_bytes_field(payload, size, Field); }
  static constexpr FindBulk kFindBulk = &find_bulk;

  static void decode(const uint8_t* data, size_t size, Message& message) {
    PayloadCodec<T>::decode(data, size, message.message);
  }
  static void take_bulk(std::vector<uint8_t>&& bulk, Message& message) { message.bulk = std::move(bulk); }
  static std::string type_name() { return PayloadCodec<T>::type_name(); }
};

}  // namespace norvik::ovimux
