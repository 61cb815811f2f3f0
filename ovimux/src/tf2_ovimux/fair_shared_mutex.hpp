#pragma once

#include <mutex>
#include <shared_mutex>

namespace norvik::ovimux::tf2_ovimux {

// A shared mutex whose writers get in although readers never pause. std::shared_mutex prefers readers: four threads
// that keep asking held up one write for ten seconds. Here a waiting writer keeps the door closed to new readers.
class FairSharedMutex {
 public:
  void lock() {
    const std::lock_guard<std::mutex> in_the_door(door_);
    mutex_.lock();
  }
  void unlock() { mutex_.unlock(); }

  void lock_shared() {
    const std::lock_guard<std::mutex> in_the_door(door_);
    mutex_.lock_shared();
  }
  void unlock_shared() { mutex_.unlock_shared(); }

 private:
  std::mutex door_;
  std::shared_mutex mutex_;
};

}  // namespace norvik::ovimux::tf2_ovimux
