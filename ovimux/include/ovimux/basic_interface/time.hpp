#pragma once

#include <cstdint>

#include "ovimux/export.hpp"

namespace norvik::ovimux::basic_interface {

// Which clock a time belongs to. There is no simulated time here: RCL_ROS_TIME follows the system clock.
// NOLINTNEXTLINE(readability-identifier-naming) a name of C
enum rcl_clock_type_t { RCL_CLOCK_UNINITIALIZED = 0, RCL_ROS_TIME = 1, RCL_SYSTEM_TIME = 2, RCL_STEADY_TIME = 3 };

// A point in time: nanoseconds since the epoch of its clock.
class OVIMUX_EXPORT Time {
 public:
  constexpr explicit Time(int64_t nanoseconds, rcl_clock_type_t clock_type = RCL_SYSTEM_TIME)
      : nanoseconds_(nanoseconds), clock_type_(clock_type) {}

  constexpr double seconds() const { return static_cast<double>(nanoseconds_) / 1e9; }
  constexpr int64_t nanoseconds() const { return nanoseconds_; }
  constexpr rcl_clock_type_t clock_type() const { return clock_type_; }

 private:
  int64_t nanoseconds_;
  rcl_clock_type_t clock_type_;
};

}  // namespace norvik::ovimux::basic_interface
