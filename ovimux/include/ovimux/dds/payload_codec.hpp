#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ovimux/dds/buffer_recycler.hpp"
#include "ovimux/dds/envelope.hpp"

namespace norvik::ovimux {

// How a message type becomes the bytes of an envelope and back: Protocol Buffers in general, plain bytes for
// std::string.
template <typename T>
struct PayloadCodec {
  // Also caches the sizes of the parts, which encode() relies on.
  static size_t byte_size(const T& message) { return message.ByteSizeLong(); }
  static bool can_encode(const T& message) { return message.IsInitialized(); }
  static bool encode(const T& message, uint8_t* target, size_t size) {
    return message.SerializeWithCachedSizesToArray(target) == target + size;
  }
  // A broken payload gives a partly filled message.
  static void decode(const uint8_t* data, size_t size, T& message) {
    message.ParseFromArray(data, static_cast<int>(size));
  }
  static constexpr FindBulk kFindBulk = nullptr;  // No part is kept apart.
  static void take_bulk(std::vector<uint8_t>&& /*bulk*/, const std::shared_ptr<BufferRecycler>& /*recycler*/,
                        T& /*message*/) {}
  static std::string type_name() { return T::descriptor()->full_name(); }
};

template <>
struct PayloadCodec<std::string> {
  static size_t byte_size(const std::string& message) { return message.size(); }
  static bool can_encode(const std::string& /*message*/) { return true; }
  static bool encode(const std::string& message, uint8_t* target, size_t size) {
    message.copy(reinterpret_cast<char*>(target), size);
    return true;
  }
  static void decode(const uint8_t* data, size_t size, std::string& message) {
    message.assign(reinterpret_cast<const char*>(data), size);
  }
  static constexpr FindBulk kFindBulk = nullptr;
  static void take_bulk(std::vector<uint8_t>&& /*bulk*/, const std::shared_ptr<BufferRecycler>& /*recycler*/,
                        std::string& /*message*/) {}
  static std::string type_name() { return "raw"; }
};

template <typename T>
class MessageSource : public PayloadSource {
 public:
  explicit MessageSource(const T& message) : message_(message) {}
  bool write_to(uint8_t* target, size_t size) const override { return PayloadCodec<T>::encode(message_, target, size); }

 private:
  const T& message_;
};

}  // namespace norvik::ovimux
