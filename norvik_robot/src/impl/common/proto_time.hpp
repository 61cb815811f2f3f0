#pragma once

#include <cstdint>

#include "norvik/core_proto/header.pb.h"
#include "norvik/core_proto/time.pb.h"

namespace norvik::sdk {

// Whole-body times come from the robot and may hold anything; none of these operations overflows.

// `value` without its fraction, held inside the range of the type; 0 for what is not a number.
int64_t clamped_int64(double value);

// Header time in nanoseconds, computed in floating point: exact to 256 ns for a present-day time. What goes into joint
// states and error reports. 0 without a timestamp.
int64_t header_time_ns_float(const core_proto::Header& header);

// Header time in nanoseconds, exact. What goes into force and IMU records. 0 without a timestamp.
int64_t header_time_ns_integer(const core_proto::Header& header);

// A negative time is sent as 0.
void set_header_time(int64_t timestamp_ns, core_proto::Header& header);

// Splits `seconds`, dropping what is below one nanosecond. For targets that the library builds.
void set_duration_truncated(double seconds, core_proto::Duration& duration);

// Splits `seconds`, rounding to the nearest nanosecond. For targets that the user built.
void set_duration_rounded(double seconds, core_proto::Duration& duration);

}  // namespace norvik::sdk
