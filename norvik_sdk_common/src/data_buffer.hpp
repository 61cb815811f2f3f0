#pragma once

#include <memory>
#include <mutex>
#include <shared_mutex>
#include <utility>

#include "ovimux/core/shared_mutex.hpp"

namespace norvik::sdk {

// Single-slot mailbox: the latest record of a stream. Writing replaces the pointer, reading copies it; a record is
// never changed once it is stored. Any thread.
template <typename T>
class DataBuffer {
 public:
  // Empty until the first write.
  std::shared_ptr<T> get_data() const {
    const std::shared_lock<ovimux::SharedMutex> lock(mutex_);
    return data_;
  }

  // The replaced record is released after the lock, so that freeing a large one never delays a reader.
  void set_data(std::shared_ptr<T> data) {
    const std::unique_lock<ovimux::SharedMutex> lock(mutex_);
    data_.swap(data);
  }

 private:
  mutable ovimux::SharedMutex mutex_;
  std::shared_ptr<T> data_;
};

}  // namespace norvik::sdk
