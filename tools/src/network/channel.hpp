#pragma once

#include <string>
#include <vector>

#include "cli/complaint.hpp"
#include "dds/listen_target.hpp"
#include "model/model_channels.hpp"
#include "model/role.hpp"
#include "network/picture.hpp"

namespace norvik::tools {

// The type of a channel of which nobody tells what it carries.
inline constexpr const char* kUnknownType = "unknown";

struct Endpoint {
  Role role = Role::kReads;
  Owner owner;
  std::string node;  // May be empty.
  // Of the messages: as announced, else as the library uses a channel of this name.
  std::string type = kUnknownType;
  bool is_announced = false;
  DdsEndpoint dds;  // Of a service the side of the requests.
};

struct Channel {
  std::string name;
  std::vector<Endpoint> endpoints;

  bool has(Role role) const;
  bool is_service() const { return has(Role::kServes) || has(Role::kCalls); }
  // The type that the sending side announces, or the receiving side if that is all there is.
  std::string type() const;
};

// All channels that somebody holds, by name. A service is one channel, not its two topics.
std::vector<Channel> channels_of(const Picture& picture);

// Finds the topic, which may also be the request or response side of a service. Else false, with the reason.
bool find_target(const Picture& picture, const std::string& topic, ListenTarget& target, Complaint& complaint);

}  // namespace norvik::tools
