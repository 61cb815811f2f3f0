#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "ovimux/export.hpp"

namespace norvik::ovimux {

// Lets the first of many equal warnings through, and then one every ten seconds. Not synchronised.
class OVIMUX_EXPORT WarningThrottle {
 public:
  // What to append to the warning: how many were left out since the last one, if any. Empty: leave it out.
  std::optional<std::string> admit(std::chrono::steady_clock::time_point now);

 private:
  std::optional<std::chrono::steady_clock::time_point> last_;
  uint64_t left_out_ = 0;
};

}  // namespace norvik::ovimux
