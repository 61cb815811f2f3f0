#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Lets an owner go away safely while its callbacks may run on other threads.
class OVIMUX_EXPORT CallbackGate {
 public:
  // Passes the gate for the life time of the object, if it is open.
  class Pass {
   public:
    explicit Pass(CallbackGate& gate) : gate_(gate), open_(gate.enter()) {}
    ~Pass() {
      if (open_) {
        gate_.leave();
      }
    }
    Pass(const Pass&) = delete;
    Pass& operator=(const Pass&) = delete;
    explicit operator bool() const { return open_; }

   private:
    CallbackGate& gate_;
    const bool open_;
  };

  // Lets nobody in any more and waits until the callbacks on other threads have returned. A callback that closes its
  // own gate is not waited for. While the process exits the wait is bounded, so that a callback that never returns
  // cannot keep it alive.
  void close();

 private:
  bool enter();
  void leave();
  bool only_this_thread_inside() const;

  std::mutex mutex_;
  std::condition_variable left_;
  std::vector<std::thread::id> inside_;
  bool closed_ = false;
};

}  // namespace norvik::ovimux
