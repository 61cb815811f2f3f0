#pragma once

#include <pthread.h>

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

#include "ovimux/log.hpp"

namespace norvik::ovimux {

// A bounded ring of shared pointers that keeps the newest entries: writing to a full queue drops its oldest entry.
// Every operation is constant time and allocates nothing after create().
template <typename T>
class MsgQueue {
 public:
  explicit MsgQueue(std::string name) : name_(std::move(name)) {}
  ~MsgQueue() { destroy(); }
  MsgQueue(const MsgQueue&) = delete;
  MsgQueue& operator=(const MsgQueue&) = delete;

  // Makes `depth` slots. With `use_mutex` the queue locks itself. False when depth is 0 or memory is short.
  bool create(unsigned depth, bool use_mutex) {
    if (depth == 0) {
      OVIMUX_LOG(kError) << "msg_queue_create param error";
      return false;
    }
    auto* control = static_cast<Control*>(std::malloc(sizeof(Control)));
    if (control == nullptr) {
      OVIMUX_LOG(kError) << "msg_queue_create alloc error";
      return false;
    }
    destroy();
    control->depth = depth;
    control->write_index = 0;
    control->read_index = 0;
    control->use_mutex = use_mutex;
    slots_.assign(depth, nullptr);
    mtxcreate(control->mutex, use_mutex);
    control_ = control;
    return true;
  }

  // 0, or -1 for an empty entry or a queue that was not created. A full queue is no failure.
  int write(const std::shared_ptr<T>& entry) {
    if (!entry) {
      OVIMUX_LOG(kError) << "msg_queue_write error param, data empty";
      return -1;
    }
    if (control_ == nullptr) {
      OVIMUX_LOG(kError) << "msg_queue_write error param, queue empty";
      return -1;
    }
    const Lock lock(*control_);
    make_room();
    slots_.at(control_->write_index % control_->depth) = entry;
    ++control_->write_index;
    return 0;
  }

  // Moves the oldest entry to `out`: 0, -2 when the queue is empty, -1 when it was not created. Never blocks; the
  // second argument has no effect.
  int read(std::shared_ptr<T>& out, unsigned /*timeout*/ = 0) {
    if (control_ == nullptr) {
      OVIMUX_LOG(kError) << "msg_queue_read error param";
      return -1;
    }
    const Lock lock(*control_);
    if (control_->read_index == control_->write_index) {
      return -2;
    }
    auto& slot = slots_.at(control_->read_index % control_->depth);
    out = std::move(slot);
    slot.reset();
    ++control_->read_index;
    return 0;
  }

 private:
  friend struct MsgQueueTestAccess;

  // A plain block, since it holds a pthread mutex. Both indices only grow and wrap as 32-bit numbers.
  struct Control {
    uint32_t depth;
    uint32_t write_index;
    uint32_t read_index;
    bool use_mutex;
    pthread_mutex_t mutex;
  };

  class Lock {
   public:
    explicit Lock(Control& control) : mutex_(control.use_mutex ? &control.mutex : nullptr) {
      if (mutex_ != nullptr) {
        pthread_mutex_lock(mutex_);
      }
    }
    ~Lock() {
      if (mutex_ != nullptr) {
        pthread_mutex_unlock(mutex_);
      }
    }
    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

   private:
    pthread_mutex_t* const mutex_;
  };

  static int mtxcreate(pthread_mutex_t& mutex, bool use_mutex) {
    if (!use_mutex) {
      return 0;
    }
    std::memset(&mutex, 0, sizeof(mutex));
    if (pthread_mutex_init(&mutex, nullptr) != 0) {
      OVIMUX_LOG(kError) << "msg_mtxcreate() faild, errno : " << errno;
      return -1;
    }
    return 0;
  }

  // A fill above the depth means a wrapped or damaged state and is repaired.
  void make_room() {
    const uint32_t used = control_->write_index - control_->read_index;
    if (used == control_->depth) {
      ++control_->read_index;
      OVIMUX_LOG(kError) << "msg_queue_write full, queue name: [" << name_ << "], msg type: " << typeid(T).name();
    } else if (used > control_->depth) {
      control_->read_index = control_->write_index - control_->depth;
      OVIMUX_LOG(kError) << "msg_queue_write fulled, queue name: [" << name_ << "], msg type: " << typeid(T).name();
    }
  }

  void destroy() {
    if (control_ == nullptr) {
      return;
    }
    if (control_->use_mutex) {
      pthread_mutex_destroy(&control_->mutex);
    }
    std::free(control_);
    control_ = nullptr;
  }

  Control* control_ = nullptr;
  std::vector<std::shared_ptr<T>> slots_;
  const std::string name_;
};

}  // namespace norvik::ovimux
