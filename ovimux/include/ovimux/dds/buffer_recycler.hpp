#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace norvik::ovimux {

// Hands the byte vector of a sample that is done with to the next one that arrives. A fresh vector costs page faults, or
// the allocator's lock when it was freed by another thread, and for a large sample more than the copy into it. Any
// thread.
class BufferRecycler {
 public:
  std::vector<uint8_t> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(*std::max_element(spares_.begin(), spares_.end(), is_smaller), {});
  }

  // Keeps `buffer` if it is worth it and larger than the smallest of those kept, which goes then.
  void give(std::vector<uint8_t>&& buffer) {
    if (buffer.capacity() < kWorthKeeping) {
      return;
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    auto& smallest = *std::min_element(spares_.begin(), spares_.end(), is_smaller);
    if (is_smaller(smallest, buffer)) {
      smallest.swap(buffer);
    }
  }

 private:
  static constexpr size_t kWorthKeeping = 4096;  // Smaller blocks come out of the allocator's per-thread cache.
  static constexpr size_t kSpares = 2;           // A sample may arrive while the one before is handed on.

  static bool is_smaller(const std::vector<uint8_t>& a, const std::vector<uint8_t>& b) {
    return a.capacity() < b.capacity();
  }

  std::mutex mutex_;
  std::array<std::vector<uint8_t>, kSpares> spares_;
};

}  // namespace norvik::ovimux
