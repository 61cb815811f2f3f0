#pragma once

#include <chrono>
#include <cstdint>

namespace norvik::sdk {

// Longest wait. Far beyond any use, and far below what a clock can be moved by.
inline constexpr std::chrono::hours kLongestPlannerWait{24 * 365};
// How soon a wait notices that the process shuts down.
inline constexpr std::chrono::milliseconds kShutdownCheckPeriod{50};

using PlannerTime = std::chrono::steady_clock::time_point;

// `seconds` from `start`; not-a-number and negative values count as 0.
inline PlannerTime planner_deadline(PlannerTime start, double seconds) {
  constexpr double kLongestS = std::chrono::duration<double>(kLongestPlannerWait).count();
  const double clamped = !(seconds > 0.0) ? 0.0 : (seconds < kLongestS ? seconds : kLongestS);
  return start + std::chrono::nanoseconds(static_cast<int64_t>(clamped * 1e9));
}

}  // namespace norvik::sdk
