#pragma once

#include <exception>

#include "ovimux/log.hpp"

namespace norvik::ovimux {

// Calls `drain` again after each exception that a user callback let out, so that the samples behind the one that threw
// are delivered without waiting for the next arrival.
template <typename Drain>
void drain_past_exceptions(Drain drain) {
  while (true) {
    try {
      drain();
      return;
    } catch (const std::exception& exception) {
      OVIMUX_LOG(kError) << "exception in callback: " << exception.what();
    } catch (...) {
      OVIMUX_LOG(kError) << "unknown exception in callback";
    }
  }
}

}  // namespace norvik::ovimux
