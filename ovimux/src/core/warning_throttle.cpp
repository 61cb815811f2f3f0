#include "ovimux/core/warning_throttle.hpp"

#include <utility>

namespace norvik::ovimux {
namespace {

constexpr std::chrono::seconds kPeriod{10};

}  // namespace

std::optional<std::string> WarningThrottle::admit(std::chrono::steady_clock::time_point now) {
  if (last_ && now - *last_ < kPeriod) {
    ++left_out_;
    return std::nullopt;
  }
  std::string addition;
  if (left_out_ > 0) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now - *last_).count();
    addition =
        " (" + std::to_string(std::exchange(left_out_, 0)) + " more within the last " + std::to_string(seconds) + " s)";
  }
  last_ = now;
  return addition;
}

}  // namespace norvik::ovimux
