#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>

namespace norvik::tools {

struct ProcessFacts {
  int pid = 0;
  std::string name;
};

// Inodes of the sockets by local port, from the text of /proc/net/udp.
std::map<uint16_t, std::set<uint64_t>> inodes_of_udp_ports(const std::string& table);

// The process of this machine that holds the UDP port. Empty when it cannot be told: nobody does, several do, or the
// process belongs to another user. Looks through /proc, which takes milliseconds.
std::optional<ProcessFacts> find_port_owner(uint16_t port);

// The name of a running process; empty if there is none.
std::string process_name(int pid);

}  // namespace norvik::tools
