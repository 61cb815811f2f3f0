#pragma once

#include <string>

namespace norvik::simulator {

enum class Direction { kPublishes, kSubscribes, kServes };

// A topic or service as `--list` prints it.
struct EndpointInfo {
  Direction direction;
  std::string name;
  std::string type;  // Message type; request and response type of a service.
};

}  // namespace norvik::simulator
