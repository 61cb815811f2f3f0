#pragma once

#include <set>

#include "impl/norvik_perception_base.hpp"

namespace norvik::sdk::k2 {

class NorvikPerceptionK2 : public NorvikPerceptionBase {
 public:
  using NorvikPerceptionBase::NorvikPerceptionBase;
  bool init(const std::set<PerceptionModule>& modules) override;
};

}  // namespace norvik::sdk::k2
