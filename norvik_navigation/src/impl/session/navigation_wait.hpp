#pragma once

#include <algorithm>
#include <chrono>

#include "ovimux/core/shutdown_tasks.hpp"

namespace norvik::sdk {

using NaviTime = std::chrono::steady_clock::time_point;

// How often a wait looks.
inline constexpr std::chrono::milliseconds kNavigationLookPeriod{100};

inline NaviTime navigation_now() { return std::chrono::steady_clock::now(); }

// `seconds` from `start`, as far ahead as a year; what is not positive counts as 0.
inline NaviTime navigation_deadline(NaviTime start, double seconds) {
  constexpr double kYearS = 365.0 * 24.0 * 3600.0;
  const std::chrono::duration<double> wait(seconds > 0.0 ? std::min(seconds, kYearS) : 0.0);
  return start + std::chrono::duration_cast<std::chrono::nanoseconds>(wait);
}

// Sleeps from one look to the next. False, at once, when the program is told to stop.
inline bool sleep_until_next_look() { return ovimux::sleep_while_running(navigation_now() + kNavigationLookPeriod); }

}  // namespace norvik::sdk
