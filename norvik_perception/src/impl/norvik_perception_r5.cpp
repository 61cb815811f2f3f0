#include "impl/norvik_perception_r5.hpp"

#include "internal_log.hpp"

namespace norvik::sdk::r5 {

bool NorvikPerceptionR5::init(const std::set<PerceptionModule>& modules) {
  open_internal_log("r5");
  return perception_base_init(modules);
}

}  // namespace norvik::sdk::r5
