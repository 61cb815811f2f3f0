#pragma once

#include <optional>
#include <string>
#include <vector>

#include "dds/peer.hpp"
#include "model/role.hpp"

namespace norvik::tools {

// One channel of a participant. The two topics of a service are one channel.
struct HeldChannel {
  std::string name;
  Role role;
  const DdsEndpoint* dds;  // Of a service the side of the requests. Lives as long as the peer.
};
std::vector<HeldChannel> channels_held_by(const Peer& peer);

// The service whose request or response topic this is.
struct ServiceSide {
  std::string service;
  bool is_request = false;
};
std::optional<ServiceSide> service_side(const std::string& topic);

std::string request_topic(const std::string& service);
std::string response_topic(const std::string& service);

}  // namespace norvik::tools
