#include "impl/norvik_navigation_r5.hpp"

#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::r5 {

bool NorvikNavigationR5::init() {
  open_internal_log("r5");
  SDK_LOG(info) << "NorvikNavigationR5 init";
  return base_init();
}

}  // namespace norvik::sdk::r5
