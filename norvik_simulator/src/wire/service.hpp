#pragma once

#include "norvik/core_proto/header.pb.h"
#include "world/world.hpp"

namespace norvik::simulator {

// One step of the simulation, as the services see it.
struct Tick {
  const WorldState& state;
  double time;  // Seconds since start-up.
  core_proto::Timestamp stamp;
};

// A part of the robot as it shows on the wire.
class Service {
 public:
  Service() = default;
  virtual ~Service() = default;
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  // Called after every step, on the thread that steps.
  virtual void tick(const Tick& tick) = 0;
};

// Tells when something is due that happens `hertz` times a second. Skips what was missed.
class Periodic {
 public:
  explicit Periodic(double hertz) : period_(1.0 / hertz) {}

  bool due(double time) {
    if (time + 1e-9 < next_) {
      return false;
    }
    next_ = time - next_ > period_ ? time + period_ : next_ + period_;
    return true;
  }

 private:
  const double period_;
  double next_ = 0.0;
};

}  // namespace norvik::simulator
