#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norvik::tools {

struct InterfaceFacts {
  std::string name;
  std::string address;  // IPv4.
  bool is_loopback = false;
  bool is_up = false;
  bool has_multicast = false;      // The interface's flag.
  bool multicast_arrives = false;  // A datagram sent to a group on it came back.
};

struct SharedMemoryFacts {
  bool is_usable = false;  // /dev/shm exists and can be written.
  uint64_t free_bytes = 0;
  int stale_segments = 0;  // Left behind by processes that ended without tidying up.
  uint64_t stale_bytes = 0;
  int foreign_segments = 0;  // In use, and not accessible to this user.
};

// What this machine has to do with communication.
struct HostFacts {
  std::string domain_text;     // OVIMUX_DOMAIN_ID
  std::string localhost_text;  // OVIMUX_LOCALHOST_ONLY
  std::string profile_file;    // The XML file that Fast DDS loads, if any.
  int first_ephemeral_port = 0;
  std::vector<InterfaceFacts> interfaces;
  SharedMemoryFacts shared_memory;
  int64_t receive_buffer_limit = 0;  // net.core.rmem_max, bytes; 0 if unknown.
  int64_t send_buffer_limit = 0;     // net.core.wmem_max
};
HostFacts read_host_facts();

std::vector<InterfaceFacts> read_interfaces();
// Of all interfaces, IPv4.
std::vector<std::string> list_addresses();
SharedMemoryFacts read_shared_memory(const std::string& folder);

// Empty when the variable or file is missing.
std::string environment_text(const char* name);
std::string file_text(const std::string& path);

// 0 to 232, as the middleware reads it: empty for anything else but an empty text, which is 0.
std::optional<int> parse_domain(const std::string& text);

}  // namespace norvik::tools
