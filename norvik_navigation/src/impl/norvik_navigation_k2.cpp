#include "impl/norvik_navigation_k2.hpp"

#include "internal_log.hpp"
#include "sdk_log.hpp"

namespace norvik::sdk::k2 {

bool NorvikNavigationK2::init() {
  open_internal_log("k2");
  SDK_LOG(info) << "NorvikNavigationK2 init";
  return base_init();
}

}  // namespace norvik::sdk::k2
