#include "wire/pace.hpp"

#include <algorithm>

namespace norvik::simulator {

namespace {

using Seconds = std::chrono::duration<double>;

}  // namespace

Pace::Pace(double rate) : step_s_(1.0 / rate), period_(std::chrono::duration_cast<Clock::duration>(Seconds(step_s_))) {}

Pace::Clock::time_point Pace::next(Clock::time_point now) {
  due_ += period_;
  const Clock::time_point earliest = now - kStepsToCatchUp * period_;
  if (due_ < earliest) {
    dropped_s_ = dropped_s_ + Seconds(earliest - due_).count();
    due_ = earliest;
  }
  return due_;
}

}  // namespace norvik::simulator
