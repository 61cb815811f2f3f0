#pragma once

#include "impl/norvik_navigation_base.hpp"

namespace norvik::sdk::r5 {

class NorvikNavigationR5 : public NorvikNavigationBase {
 public:
  bool init() override;
};

}  // namespace norvik::sdk::r5
