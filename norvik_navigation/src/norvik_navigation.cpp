#include <norvik_sdk/norvik_navigation.hpp>

#include "impl/norvik_navigation_k2.hpp"
#include "impl/norvik_navigation_r5.hpp"
#include "logger.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk {

NorvikNavigation& NorvikNavigation::get_instance(MachineType machine_type) {
  Logger::get_instance();  // Made before the objects and so destroyed after them: they log to their end.
  if (machine_type == MachineType::R5) {
    static r5::NorvikNavigationR5 navigation;
    return navigation;
  }
  if (machine_type != MachineType::K2) {
    SDK_LOG(error) << "NorvikNavigation::get_instance(): unknown machine type, defaulting to K2";
  }
  static k2::NorvikNavigationK2 navigation;
  return navigation;
}

}  // namespace norvik::sdk
