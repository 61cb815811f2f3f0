#include "impl/wbc/common/command_wait.hpp"

#include <cmath>
#include <thread>

#include "impl/wbc/common/common_utils.hpp"
#include "ovimux/core/exit_hold.hpp"

namespace norvik::sdk {

namespace {

constexpr std::chrono::milliseconds kPass{100};
constexpr double kLongestWaitS = std::chrono::duration<double>(kLongestWait).count();

// NaN and negative values give 0, so that the result can be cast to any integer duration.
double clamp_to_wait(double seconds) { return seconds > 0.0 ? std::min(seconds, kLongestWaitS) : 0.0; }

}  // namespace

std::chrono::seconds ceil_to_seconds(double timeout_s) {
  return std::chrono::seconds(static_cast<std::chrono::seconds::rep>(std::ceil(clamp_to_wait(timeout_s))));
}

void sleep_for_seconds(double duration_s) {
  std::this_thread::sleep_for(std::chrono::duration<double>(clamp_to_wait(duration_s)));
  ovimux::hold_while_exiting();
}

void sleep_one_pass() {
  std::this_thread::sleep_for(kPass);
  ovimux::hold_while_exiting();
}

bool is_wait_over(SteadyTime start, double timeout_s) {
  return std::isnan(timeout_s) || CommonUtils::is_timeout(start, timeout_s);
}

}  // namespace norvik::sdk
