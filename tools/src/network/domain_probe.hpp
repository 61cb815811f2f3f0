#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>

namespace norvik::tools {

// The domain whose discovery multicast arrives on a UDP port; empty for other ports.
std::optional<int> domain_of_port(int port);

// The domains that processes of this machine listen to, from the text of /proc/net/udp.
std::set<int> domains_in_udp_table(const std::string& table);

// Domains other than `domain` with DDS processes, and on which hosts. Looks at this machine's sockets and, unless
// `local`, listens to the network for a little more than a second. Sends nothing.
std::map<int, std::string> find_other_domains(int domain, bool local);

}  // namespace norvik::tools
