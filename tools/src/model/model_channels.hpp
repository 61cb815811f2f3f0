#pragma once

#include <string>
#include <vector>

#include "model/role.hpp"

namespace norvik::tools {

// The type of a channel whose payload is no Protocol Buffers message: text, JSON or bytes.
inline constexpr const char* kRawType = "raw";

enum class Need {
  kEssential,  // Without it the robot cannot be moved or watched.
  kSensor,     // Sensors and accessories.
  kOptional,   // Not every robot of the model has it.
};

// A channel that a robot offers to applications, as the library opens it.
struct ModelChannel {
  std::string name;
  Role role;  // How the robot holds it.
  Need need;
  bool large;                      // Uses the 10 MB envelope. Like `latched` not relied upon for optional channels.
  bool latched;                    // The library asks for the last message of before its start.
  std::string type;                // Of the messages, or of a service's requests.
  std::string response_type = "";  // Of a service.
};

// Lower case.
const std::vector<std::string>& known_models();

std::vector<ModelChannel> channels_of_model(const std::string& model);

// The channel of any model; null for a name that none has.
const ModelChannel* known_channel(const std::string& name);

}  // namespace norvik::tools
