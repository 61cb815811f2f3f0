#pragma once

#include <chrono>
#include <functional>
#include <optional>

#include <norvik_sdk/types.hpp>

#include "impl/wbc/common/motions_under_way.hpp"

namespace norvik::sdk {

using SteadyTime = std::chrono::steady_clock::time_point;

inline SteadyTime steady_now() { return std::chrono::steady_clock::now(); }

// Longest request and sleep. Far beyond any use, and far below what a clock can be moved by.
inline constexpr std::chrono::seconds kLongestWait = std::chrono::hours(24 * 365);

// Rounds a time-out up to whole seconds, as requests take them; 0 for what is negative or not a number.
std::chrono::seconds ceil_to_seconds(double timeout_s);

// Sleeps on the calling thread, signals notwithstanding. Not at all for what is not positive. False, early, when the
// program is told to stop.
bool sleep_for_seconds(double duration_s);

// The same as part of a command: SUCCESS, or TIMEOUT with a record when the program is told to stop.
ControlStatus sleep_in_command(const char* operation, double duration_s);

// Whether the program was told to stop, by a signal, request_shutdown() or destroy().
bool is_shutting_down();

// True once more than `timeout_s` seconds have passed since `start`; a time-out that is not a number has always passed.
bool is_wait_over(SteadyTime start, double timeout_s);

// A blocking command's wait: under which name it is recorded, and its limit.
struct MotionWait {
  const char* operation;
  SteadyTime start;
  double timeout_s;
};

// Looks every 100 ms, after the sleep, for the status with which `motion` has ended, until `poll` gives one. TIMEOUT,
// each with its record, when the time-out passed first, after which `on_timeout` is called, and as soon as the program
// is told to stop.
ControlStatus wait_for_motion(MotionsUnderWay::Motion& motion, const MotionWait& wait,
                              const std::function<std::optional<ControlStatus>()>& poll,
                              const std::function<void()>& on_timeout = nullptr);

}  // namespace norvik::sdk
