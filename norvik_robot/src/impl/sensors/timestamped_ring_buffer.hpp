#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

namespace norvik::sdk {

// The last few records of a stream, in order of arrival; their times need not rise. Any thread.
template <typename T>
class TimestampedRingBuffer {
 public:
  explicit TimestampedRingBuffer(size_t capacity) : capacity_(capacity) {}

  // An empty record is ignored.
  void push(const std::shared_ptr<T>& record) {
    if (!record) {
      return;
    }
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.emplace_back(record->timestamp_ns, record);
    while (entries_.size() > capacity_) {
      entries_.pop_front();
    }
  }

  // Empty when nothing has arrived.
  std::shared_ptr<T> newest() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return entries_.empty() ? nullptr : entries_.back().second;
  }

  // The record closest to `time_ns`, however far; of two equally close ones the one that arrived first. Empty when
  // nothing has arrived.
  std::shared_ptr<T> closest(int64_t time_ns) const {
    std::lock_guard<std::mutex> lock(mutex_);
    std::shared_ptr<T> best;
    uint64_t smallest = 0;
    for (const auto& [entry_time, record] : entries_) {
      const uint64_t distance = distance_between(entry_time, time_ns);
      if (!best || distance < smallest) {
        best = record;
        smallest = distance;
      }
    }
    return best;
  }

 private:
  // Unsigned, since two times can lie further apart than a signed difference can tell.
  static uint64_t distance_between(int64_t a, int64_t b) {
    return a > b ? static_cast<uint64_t>(a) - static_cast<uint64_t>(b)
                 : static_cast<uint64_t>(b) - static_cast<uint64_t>(a);
  }

  const size_t capacity_;
  mutable std::mutex mutex_;
  std::deque<std::pair<int64_t, std::shared_ptr<T>>> entries_;
};

}  // namespace norvik::sdk
