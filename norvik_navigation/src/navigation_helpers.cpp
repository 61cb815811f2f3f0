#include <norvik_sdk/navigation_helpers.hpp>

#include "impl/norvik_navigation_base.hpp"

namespace norvik::sdk {

bool wait_until_ready(NorvikNavigation& navigation, double timeout_s) {
  constexpr std::chrono::milliseconds kLookPeriod{10};
  const auto* const base = dynamic_cast<const NorvikNavigationBase*>(&navigation);
  if (base == nullptr) {
    return false;
  }
  const NaviTime deadline = navigation_deadline(navigation_now(), timeout_s);
  while (!base->is_ready()) {
    if (navigation_now() >= deadline || !ovimux::sleep_while_running(navigation_now() + kLookPeriod)) {
      return false;
    }
  }
  return true;
}

}  // namespace norvik::sdk
