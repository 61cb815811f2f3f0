#include "impl/wbc/common/command_wait.hpp"

#include <algorithm>
#include <cmath>

#include "impl/wbc/common/common_utils.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

namespace {

constexpr double kPassS = 0.1;
constexpr double kLongestWaitS = std::chrono::duration<double>(kLongestWait).count();

// NaN and negative values give 0, so that the result can be cast to any integer duration.
double clamp_to_wait(double seconds) { return seconds > 0.0 ? std::min(seconds, kLongestWaitS) : 0.0; }

ControlStatus end_early(const char* operation) {
  SDK_LOG(error) << operation << " ended early, the program is told to stop";
  return ControlStatus::TIMEOUT;
}

}  // namespace

std::chrono::seconds ceil_to_seconds(double timeout_s) {
  return std::chrono::seconds(static_cast<std::chrono::seconds::rep>(std::ceil(clamp_to_wait(timeout_s))));
}

bool sleep_for_seconds(double duration_s) {
  const std::chrono::duration<double> duration(clamp_to_wait(duration_s));
  const auto deadline = steady_now() + std::chrono::duration_cast<std::chrono::nanoseconds>(duration);
  return ovimux::sleep_while_running(deadline);
}

ControlStatus sleep_in_command(const char* operation, double duration_s) {
  return sleep_for_seconds(duration_s) ? ControlStatus::SUCCESS : end_early(operation);
}

bool is_shutting_down() { return !ovimux::sleep_while_running(steady_now()); }

bool is_wait_over(SteadyTime start, double timeout_s) {
  return std::isnan(timeout_s) || CommonUtils::is_timeout(start, timeout_s);
}

ControlStatus wait_for_motion(MotionsUnderWay::Motion& motion, const MotionWait& wait,
                              const std::function<std::optional<ControlStatus>()>& poll,
                              const std::function<void()>& on_timeout) {
  while (!is_wait_over(wait.start, wait.timeout_s)) {
    if (!sleep_for_seconds(kPassS)) {
      return end_early(wait.operation);
    }
    if (const std::optional<ControlStatus> status = poll()) {
      motion.ended();
      return *status;
    }
  }
  SDK_LOG(error) << wait.operation << " timeout";
  if (on_timeout) {
    on_timeout();
  }
  return ControlStatus::TIMEOUT;
}

}  // namespace norvik::sdk
