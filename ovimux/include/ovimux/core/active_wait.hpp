#pragma once

#include <chrono>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Marks a blocking operation of the middleware, so that WaitForShutdown() returns only after it has ended.
class OVIMUX_EXPORT ActiveWait {
 public:
  ActiveWait();
  ~ActiveWait();
  ActiveWait(const ActiveWait&) = delete;
  ActiveWait& operator=(const ActiveWait&) = delete;

  // Sleeps until `deadline` and returns true, or returns false early when a shutdown is asked for.
  bool sleep_until(std::chrono::steady_clock::time_point deadline) const;
};

}  // namespace norvik::ovimux
