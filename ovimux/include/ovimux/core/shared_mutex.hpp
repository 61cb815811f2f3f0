#pragma once

#include <memory>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// A reader-writer lock that lets no stream of readers starve a writer; for std::shared_lock and std::unique_lock. It is
// Boost's, whose headers are kept out of the files that use it.
class OVIMUX_EXPORT SharedMutex {
 public:
  SharedMutex();
  ~SharedMutex();
  SharedMutex(const SharedMutex&) = delete;
  SharedMutex& operator=(const SharedMutex&) = delete;

  void lock();
  bool try_lock();
  void unlock();
  void lock_shared();
  bool try_lock_shared();
  void unlock_shared();

 private:
  struct Impl;
  const std::unique_ptr<Impl> impl_;
};

}  // namespace norvik::ovimux
