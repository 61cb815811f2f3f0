#include "model/role.hpp"

namespace norvik::tools {

const char* role_name(Role role) {
  static constexpr const char* kNames[] = {"publishes", "reads", "serves", "calls"};
  return kNames[static_cast<int>(role)];
}

}  // namespace norvik::tools
