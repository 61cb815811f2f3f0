#pragma once

#include <chrono>
#include <optional>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

using SteadyTime = std::chrono::steady_clock::time_point;

inline SteadyTime steady_now() { return std::chrono::steady_clock::now(); }

// Longest request and sleep. Far beyond any use, and far below what a clock can be moved by.
inline constexpr std::chrono::seconds kLongestWait = std::chrono::hours(24 * 365);

// Rounds a time-out up to whole seconds, as requests take them; 0 for what is negative or not a number.
std::chrono::seconds ceil_to_seconds(double timeout_s);

// Sleeps on the calling thread, signals notwithstanding. Not at all for what is not positive.
void sleep_for_seconds(double duration_s);

// Sleeps one pass of a wait loop, 100 ms.
void sleep_one_pass();

// True once more than `timeout_s` seconds have passed since `start`; a time-out that is not a number has always passed.
bool is_wait_over(SteadyTime start, double timeout_s);

// Calls `poll` every 100 ms, after the sleep, until it gives a status. Empty when the time-out passed first. `poll`
// returns std::optional<ControlStatus>.
template <typename Poll>
std::optional<ControlStatus> poll_until(SteadyTime start, double timeout_s, Poll&& poll) {
  while (!is_wait_over(start, timeout_s)) {
    sleep_one_pass();
    if (const std::optional<ControlStatus> status = poll()) {
      return status;
    }
  }
  return std::nullopt;
}

}  // namespace norvik::sdk
