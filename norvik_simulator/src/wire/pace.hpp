#pragma once

#include <atomic>
#include <chrono>

namespace norvik::simulator {

// The beat of the simulation: when the next step is due. A machine that is too slow catches up with some steps; what
// is more than that is dropped from the robot's time, which then falls behind rather than jumping.
class Pace {
 public:
  using Clock = std::chrono::steady_clock;

  static constexpr int kStepsToCatchUp = 10;

  explicit Pace(double rate);

  // The first step is now.
  void start(Clock::time_point now) { due_ = now; }
  double step_s() const { return step_s_; }
  // When the step after the one just done is due. To be called after each step, by one thread.
  Clock::time_point next(Clock::time_point now);
  // Seconds that were dropped so far. Any thread.
  double dropped_s() const { return dropped_s_; }

 private:
  const double step_s_;
  const Clock::duration period_;
  Clock::time_point due_;
  std::atomic<double> dropped_s_{0.0};
};

}  // namespace norvik::simulator
