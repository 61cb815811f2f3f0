#pragma once

#include <algorithm>
#include <chrono>
#include <utility>

#include "planning/basis/planning_types.hpp"

namespace norvik::simulator::planning {

// The time that a piece of work may take, and its caller's wish to stop. Not for several threads.
class Budget {
 public:
  using Clock = std::chrono::steady_clock;

  Budget(double seconds, Interrupt interrupt)
      : end_(Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds))),
        interrupt_(std::move(interrupt)) {}

  // A part of this one.
  Budget within(double seconds) const { return {std::min(seconds, left()), interrupt_}; }

  double left() const { return std::chrono::duration<double>(end_ - Clock::now()).count(); }
  bool interrupted() const { return interrupt_ && interrupt_(); }
  bool over() const { return left() <= 0.0 || interrupted(); }

 private:
  Clock::time_point end_;
  Interrupt interrupt_;
};

}  // namespace norvik::simulator::planning
