#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace norvik::tools {

// Names a DDS participant, and a writer or reader; the first 12 bytes of an endpoint's are those of its participant.
using PeerId = std::array<uint8_t, 12>;
using EndpointId = std::array<uint8_t, 16>;
PeerId peer_of(const EndpointId& endpoint);

// A writer or reader as DDS discovery shows it.
struct DdsEndpoint {
  std::string topic;
  std::string type;
  bool is_writer = false;
  bool is_reliable = false;
  bool is_latched = false;  // Keeps samples for late joiners, or asks for them.
  bool is_keyed = false;
  bool is_exclusive = false;  // Of the writers of an instance only one is heard.
  std::vector<std::string> partitions;
  std::vector<int16_t> representations;

  // Whether its type is one of the two envelopes.
  bool is_enveloped() const;
  bool is_large() const;
};

struct PeerAddress {
  std::string ip;  // Empty for shared memory, whose ports have the numbers of the UDP ports.
  uint16_t port = 0;
};

// A DDS participant. What it does not tell is left empty.
struct Peer {
  PeerId id{};
  std::string name;
  std::string host;
  int pid = 0;
  std::vector<PeerAddress> addresses;  // Where it listens for discovery.
  std::map<EndpointId, DdsEndpoint> endpoints;
};

}  // namespace norvik::tools
