#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace norvik::simulator {

// Why a command is not carried out. `group` is a joint group, a task, or what the sender called one.
struct Refusal {
  std::string group;
  std::string reason;
};
using Refusals = std::vector<Refusal>;

// Names come from the wire and may be megabytes long. `longest` in bytes.
std::string printable_name(const std::string& name, size_t longest = 64);

}  // namespace norvik::simulator
