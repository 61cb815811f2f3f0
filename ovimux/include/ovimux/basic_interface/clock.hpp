#pragma once

#include "ovimux/basic_interface/time.hpp"
#include "ovimux/export.hpp"

namespace norvik::ovimux::basic_interface {

// Reads the clock of one kind. Stateless, usable from any thread.
class OVIMUX_EXPORT Clock {
 public:
  explicit Clock(rcl_clock_type_t type) : type_(type) {}

  // Time 0 for RCL_CLOCK_UNINITIALIZED and for values that are no clock.
  Time now() const;

  rcl_clock_type_t type() const { return type_; }

 private:
  rcl_clock_type_t type_;
};

}  // namespace norvik::ovimux::basic_interface
