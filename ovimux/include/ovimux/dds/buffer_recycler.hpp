#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace norvik::ovimux {

// Hands the byte vector of a delivered sample to the next one that arrives. A fresh vector costs page faults, or the
// allocator's lock when it was freed by another thread, and for a large sample more than the copy into it.
class BufferRecycler {
 public:
  std::vector<uint8_t> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(spare_, {});
  }

  // Keeps `buffer` if it is worth it and larger than the one kept.
  void give(std::vector<uint8_t>&& buffer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (buffer.capacity() >= kWorthKeeping && buffer.capacity() > spare_.capacity()) {
      spare_ = std::move(buffer);
    }
  }

 private:
  static constexpr size_t kWorthKeeping = 4096;  // Smaller blocks come out of the allocator's per-thread cache.

  std::mutex mutex_;
  std::vector<uint8_t> spare_;
};

}  // namespace norvik::ovimux
