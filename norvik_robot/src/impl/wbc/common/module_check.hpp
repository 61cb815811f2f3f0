#pragma once

#include "sdk_log.hpp"

namespace norvik::sdk {

// Whether the module behind `pointer` exists, which it does after a successful initialisation; one record if not.
template <typename Pointer>
bool is_created(const Pointer& pointer, const char* name) {
  if (!pointer) {
    SDK_LOG(error) << "ERROR: " << name << " is nullptr, please init.";
  }
  return pointer != nullptr;
}

}  // namespace norvik::sdk
