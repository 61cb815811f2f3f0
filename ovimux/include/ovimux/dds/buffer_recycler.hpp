#pragma once

#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace norvik::ovimux {

// Hands the byte vector of a delivered sample to the next one that arrives. A fresh vector of megabytes costs more in
// page faults than the copy into it.
class BufferRecycler {
 public:
  std::vector<uint8_t> take() {
    const std::lock_guard<std::mutex> lock(mutex_);
    return std::exchange(spare_, {});
  }

  // Keeps `buffer` if it is large and larger than the one kept.
  void give(std::vector<uint8_t>&& buffer) {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (buffer.capacity() >= kWorthKeeping && buffer.capacity() > spare_.capacity()) {
      spare_ = std::move(buffer);
    }
  }

 private:
  // malloc gives larger blocks back to the kernel at once.
  static constexpr size_t kWorthKeeping = 128 * 1024;

  std::mutex mutex_;
  std::vector<uint8_t> spare_;
};

}  // namespace norvik::ovimux
