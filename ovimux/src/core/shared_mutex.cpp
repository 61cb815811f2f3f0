#include "ovimux/core/shared_mutex.hpp"

#include <boost/thread/shared_mutex.hpp>

namespace norvik::ovimux {

struct SharedMutex::Impl {
  boost::shared_mutex mutex;
};

SharedMutex::SharedMutex() : impl_(std::make_unique<Impl>()) {}
SharedMutex::~SharedMutex() = default;

void SharedMutex::lock() { impl_->mutex.lock(); }
bool SharedMutex::try_lock() { return impl_->mutex.try_lock(); }
void SharedMutex::unlock() { impl_->mutex.unlock(); }
void SharedMutex::lock_shared() { impl_->mutex.lock_shared(); }
bool SharedMutex::try_lock_shared() { return impl_->mutex.try_lock_shared(); }
void SharedMutex::unlock_shared() { impl_->mutex.unlock_shared(); }

}  // namespace norvik::ovimux
