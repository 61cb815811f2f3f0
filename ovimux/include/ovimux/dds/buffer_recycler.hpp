#pragma once

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace norvik::ovimux {

// Hands the byte vector of a sample that is done with to the next one that arrives. A fresh vector costs page faults,
// or the allocator's lock when it was freed by another thread, and for a large sample more than the copy into it. Any
// thread.
class BufferRecycler {
 public:
  // The buffer given last, which is the likeliest to lie in the processor's cache; an empty one when there is none.
  std::vector<uint8_t> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (spares_.empty()) {
      return {};
    }
    auto buffer = std::move(spares_.back());
    spares_.pop_back();
    return buffer;
  }

  // Takes `buffer` over if it is worth it and there is room.
  void give(std::vector<uint8_t>&& buffer) {
    const size_t most = most_kept(buffer.capacity());
    const std::lock_guard<std::mutex> lock(mutex_);
    if (spares_.size() < most) {
      spares_.push_back(std::move(buffer));
    }
  }

 private:
  // How many there may be for one of `capacity` bytes to be kept as well. Bursts pay to be kept for as long as that
  // costs little memory; of large ones, one may arrive while the one before is handed on.
  static size_t most_kept(size_t capacity) {
    constexpr size_t kWorthKeeping = 4096;  // Smaller blocks come out of the allocator's per-thread cache.
    constexpr size_t kLarge = 131072;
    if (capacity < kWorthKeeping) {
      return 0;
    }
    return capacity < kLarge ? 8 : 2;
  }

  std::mutex mutex_;
  std::vector<std::vector<uint8_t>> spares_;
};

}  // namespace norvik::ovimux
