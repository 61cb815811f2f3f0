#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// The users' callbacks of one kind of record, by sensor. Callbacks run on a snapshot of the table and without a lock,
// so that they may register others and take as long as they like: neither registration nor another stream waits for
// them.
template <typename T>
class CallbackTable {
 public:
  using Callback = std::function<void(std::shared_ptr<T>)>;

  // Counts from the sensor's next record on. An empty callback is kept and skipped.
  void add(SensorType sensor, Callback callback) {
    auto entry = std::make_shared<const Callback>(std::move(callback));
    const std::lock_guard<std::mutex> lock(mutex_);
    auto changed = std::make_shared<Table>(*table_);
    (*changed)[sensor].push_back(std::move(entry));
    table_ = std::move(changed);
  }

  // Calls the sensor's callbacks in the order of registration. What they throw passes through.
  void run(SensorType sensor, const std::shared_ptr<T>& record) const {
    const auto table = snapshot();
    const auto callbacks = table->find(sensor);
    if (callbacks == table->end()) {
      return;
    }
    for (const auto& callback : callbacks->second) {
      if (*callback) {
        (*callback)(record);
      }
    }
  }

 private:
  using Table = std::unordered_map<SensorType, std::vector<std::shared_ptr<const Callback>>>;

  std::shared_ptr<const Table> snapshot() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return table_;
  }

  mutable std::mutex mutex_;  // Guards the pointer only; a table is never changed once it is here.
  std::shared_ptr<const Table> table_ = std::make_shared<const Table>();
};

}  // namespace norvik::sdk
