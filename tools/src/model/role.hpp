#pragma once

namespace norvik::tools {

// How a process holds a channel.
enum class Role { kPublishes, kReads, kServes, kCalls };
const char* role_name(Role role);

}  // namespace norvik::tools
