#pragma once

#include "impl/norvik_navigation_base.hpp"

namespace norvik::sdk::k2 {

class NorvikNavigationK2 : public NorvikNavigationBase {
 public:
  bool init() override;
};

}  // namespace norvik::sdk::k2
