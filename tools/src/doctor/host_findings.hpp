#pragma once

#include "doctor/finding.hpp"
#include "host/host_facts.hpp"

namespace norvik::tools {

// How this run talks to the network.
struct RunSettings {
  int domain = 0;
  bool local = false;
};

Finding judge_domain(const HostFacts& facts, const RunSettings& settings);
Findings judge_interfaces(const std::vector<InterfaceFacts>& interfaces, const RunSettings& settings);
Findings judge_shared_memory(const SharedMemoryFacts& facts);
Findings judge_socket_buffers(const HostFacts& facts);

// All of them.
Findings judge_host(const HostFacts& facts, const RunSettings& settings);

}  // namespace norvik::tools
