#pragma once

#include <string>
#include <vector>

#include "model/role.hpp"

namespace norvik::tools {

// A channel that a robot offers to applications.
struct ModelChannel {
  std::string name;
  Role role;       // How the robot holds it.
  bool essential;  // Without it the robot cannot be moved or watched; the others are sensors and accessories.
};

// Lower case.
const std::vector<std::string>& known_models();

std::vector<ModelChannel> channels_of_model(const std::string& model);

}  // namespace norvik::tools
