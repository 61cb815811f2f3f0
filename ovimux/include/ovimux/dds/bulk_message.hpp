#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "ovimux/dds/buffer_recycler.hpp"
#include "ovimux/dds/payload_codec.hpp"
#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Where the bytes field number `field` lies in a serialised message. Nothing when it is absent, empty, or there more
// than once, or when the payload is no message: such a payload stays in one piece.
OVIMUX_EXPORT BulkPart find_bytes_field(const uint8_t* payload, size_t size, int field);

// A received message of type T whose bytes field number `Field` carries nearly everything, as a picture's pixels do.
// On the way from the wire that field is copied once, into `bulk`; it is empty in `message` then. A payload that had to
// stay in one piece has the field in `message`, and no `bulk`.
//
// Who moves `bulk` out may hand it to `recycler` once done; otherwise it goes there with the message.
template <typename T, int Field>
struct BulkMessage {
  BulkMessage() = default;
  BulkMessage(const BulkMessage&) = delete;
  BulkMessage& operator=(const BulkMessage&) = delete;
  ~BulkMessage() {
    if (recycler) {
      recycler->give(std::move(bulk));
    }
  }

  T message;
  std::vector<uint8_t> bulk;
  std::shared_ptr<BufferRecycler> recycler;
};

template <typename T, int Field>
struct PayloadCodec<BulkMessage<T, Field>> {
  using Message = BulkMessage<T, Field>;

  static BulkPart find_bulk(const uint8_t* payload, size_t size) { return find_bytes_field(payload, size, Field); }
  static constexpr FindBulk kFindBulk = &find_bulk;

  static void decode(const uint8_t* data, size_t size, Message& message) {
    PayloadCodec<T>::decode(data, size, message.message);
  }
  static void take_bulk(std::vector<uint8_t>&& bulk, const std::shared_ptr<BufferRecycler>& recycler,
                        Message& message) {
    message.bulk = std::move(bulk);
    message.recycler = recycler;
  }
  static std::string type_name() { return PayloadCodec<T>::type_name(); }
};

}  // namespace norvik::ovimux
