#include "impl/common/proto_time.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace norvik::sdk {

namespace {

constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

}  // namespace

int64_t clamped_int64(double value) {
  constexpr double kBeyondLargest = 9223372036854775808.0;  // 2^63
  if (std::isnan(value)) {
    return 0;
  }
  if (value >= kBeyondLargest) {
    return std::numeric_limits<int64_t>::max();
  }
  return value < -kBeyondLargest ? std::numeric_limits<int64_t>::min() : static_cast<int64_t>(value);
}

int64_t header_time_ns_float(const core_proto::Header& header) {
  const core_proto::Timestamp& time = header.timestamp();
  return clamped_int64(static_cast<double>(time.sec()) * 1e9 + static_cast<double>(time.nanosec()));
}

int64_t header_time_ns_integer(const core_proto::Header& header) {
  const core_proto::Timestamp& time = header.timestamp();
  int64_t nanoseconds = 0;
  if (__builtin_mul_overflow(time.sec(), kNanosecondsPerSecond, &nanoseconds) ||
      __builtin_add_overflow(nanoseconds, time.nanosec(), &nanoseconds)) {
    return time.sec() < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
  }
  return nanoseconds;
}

void set_header_time(int64_t timestamp_ns, core_proto::Header& header) {
  const int64_t nanoseconds = std::max<int64_t>(timestamp_ns, 0);
  core_proto::Timestamp& time = *header.mutable_timestamp();
  time.set_sec(nanoseconds / kNanosecondsPerSecond);
  time.set_nanosec(static_cast<uint32_t>(nanoseconds % kNanosecondsPerSecond));
}

void set_duration_truncated(double seconds, core_proto::Duration& duration) {
  const double whole = std::trunc(seconds);
  duration.set_sec(whole);
  duration.set_nanosec(clamped_int64((seconds - whole) * 1e9));
}

void set_duration_rounded(double seconds, core_proto::Duration& duration) {
  double whole = std::trunc(seconds);
  int64_t nanoseconds = clamped_int64(std::round((seconds - whole) * 1e9));
  if (nanoseconds >= kNanosecondsPerSecond) {
    whole += 1.0;
    nanoseconds = 0;
  }
  duration.set_sec(whole);
  duration.set_nanosec(nanoseconds);
}

}  // namespace norvik::sdk
