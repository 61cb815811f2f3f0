#include "dds/peer.hpp"

#include <algorithm>

#include "ovimux/dds/envelope.hpp"

namespace norvik::tools {

PeerId peer_of(const EndpointId& endpoint) {
  PeerId peer{};
  std::copy_n(endpoint.begin(), peer.size(), peer.begin());
  return peer;
}

bool DdsEndpoint::is_enveloped() const { return is_large() || type == ovimux::kSmallEnvelopeName; }

bool DdsEndpoint::is_large() const { return type == ovimux::kLargeEnvelopeName; }

}  // namespace norvik::tools
