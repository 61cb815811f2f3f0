#include <norvik_sdk/robot_helpers.hpp>

#include <algorithm>
#include <chrono>

#include "impl/wbc_base.hpp"
#include "ovimux/core/shutdown_tasks.hpp"
#include "ovimux/ovimux.hpp"

namespace norvik::sdk {
namespace {

constexpr std::chrono::milliseconds kPollPeriod{10};
constexpr double kLongestWaitS = 1e9;  // what the clock can add without an overflow

}  // namespace

bool wait_until_ready(NorvikRobot& robot, double timeout_s) {
  const auto* const body = dynamic_cast<const WbcBase*>(&robot);
  if (body == nullptr) {
    return false;
  }
  const double limit_s = timeout_s > 0.0 ? std::min(timeout_s, kLongestWaitS) : 0.0;  // NaN looks once, too.
  const auto deadline = std::chrono::steady_clock::now() +
                        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(limit_s));
  while (ovimux::OK()) {
    if (body->is_ready()) {
      return true;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      return false;
    }
    if (!ovimux::sleep_while_running(std::chrono::steady_clock::now() + kPollPeriod)) {
      return false;
    }
  }
  return false;
}

std::shared_ptr<ErrorInfo> current_errors(NorvikRobot& robot) {
  const auto* const body = dynamic_cast<const WbcBase*>(&robot);
  return body == nullptr ? nullptr : body->get_error_report();
}

void forget_controllers(NorvikRobot& robot) {
  if (auto* const body = dynamic_cast<WbcBase*>(&robot)) {
    body->forget_active_controllers();
  }
}

}  // namespace norvik::sdk
