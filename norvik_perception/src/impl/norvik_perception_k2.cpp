#include "impl/norvik_perception_k2.hpp"

#include "internal_log.hpp"

namespace norvik::sdk::k2 {

bool NorvikPerceptionK2::init(const std::set<PerceptionModule>& modules) {
  open_internal_log("k2");
  return perception_base_init(modules);
}

}  // namespace norvik::sdk::k2
