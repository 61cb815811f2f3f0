#pragma once

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Marks a blocking operation of the middleware, so that WaitForShutdown() returns only after it has ended.
class OVIMUX_EXPORT ActiveWait {
 public:
  ActiveWait();
  ~ActiveWait();
  ActiveWait(const ActiveWait&) = delete;
  ActiveWait& operator=(const ActiveWait&) = delete;
};

}  // namespace norvik::ovimux
