#pragma once

#include <cstdint>

#include "ovimux/export.hpp"

namespace norvik::ovimux::basic_interface {

// A signed span of nanoseconds.
class OVIMUX_EXPORT Duration {
 public:
  constexpr explicit Duration(int64_t nanoseconds) : nanoseconds_(nanoseconds) {}

  constexpr int64_t nanoseconds() const { return nanoseconds_; }

 private:
  int64_t nanoseconds_;
};

}  // namespace norvik::ovimux::basic_interface
