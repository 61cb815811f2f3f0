#include "ovimux/basic_interface/clock.hpp"

#include <chrono>

namespace norvik::ovimux::basic_interface {
namespace {

template <typename StdClock>
int64_t nanoseconds_of() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(StdClock::now().time_since_epoch()).count();
}

}  // namespace

Time Clock::now() const {
  switch (type_) {
    case RCL_ROS_TIME:
    case RCL_SYSTEM_TIME:
      return Time(nanoseconds_of<std::chrono::system_clock>(), type_);
    case RCL_STEADY_TIME:
      return Time(nanoseconds_of<std::chrono::steady_clock>(), type_);
    case RCL_CLOCK_UNINITIALIZED:
      break;
  }
  return Time(0, type_);
}

}  // namespace norvik::ovimux::basic_interface
