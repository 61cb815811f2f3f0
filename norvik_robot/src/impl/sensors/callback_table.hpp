#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <shared_mutex>
#include <unordered_map>
#include <utility>
#include <vector>
#include <norvik_sdk/types.hpp>

#include "ovimux/core/shared_mutex.hpp"

namespace norvik::sdk {

// The users' callbacks of one kind of record, by sensor.
template <typename T>
class CallbackTable {
 public:
  using Callback = std::function<void(std::shared_ptr<T>)>;

  // Waits while callbacks of this table run. An empty callback is kept and skipped.
  void add(SensorType sensor, Callback callback) {
    std::unique_lock<ovimux::SharedMutex> lock(mutex_);
    callbacks_[sensor].push_back(std::move(callback));
  }

  // Calls the sensor's callbacks in the order of registration, with the table locked for reading. What they throw
  // passes through.
  void run(SensorType sensor, const std::shared_ptr<T>& record) const {
    std::shared_lock<ovimux::SharedMutex> lock(mutex_);
    const auto callbacks = callbacks_.find(sensor);
    if (callbacks == callbacks_.end()) {
      return;
    }
    for (const auto& callback : callbacks->second) {
      if (callback) {
        callback(record);
      }
    }
  }

 private:
  mutable ovimux::SharedMutex mutex_;
  std::unordered_map<SensorType, std::vector<Callback>> callbacks_;
};

}  // namespace norvik::sdk
