#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cli/complaint.hpp"
#include "model/role.hpp"

namespace norvik::ovimux::proto {
class TopologyState;
}

namespace norvik::tools {

// What the processes on the network announce, one state a process.
using Topology = std::vector<std::shared_ptr<const ovimux::proto::TopologyState>>;

// The type of a channel whose payload is no Protocol Buffers message.
inline constexpr const char* kRawType = "raw";

struct Endpoint {
  Role role = Role::kReads;
  std::string process;
  int pid = 0;
  std::string host;
  std::string ip;
  std::string node;  // May be empty.
  std::string type = kRawType;
  bool large = false;    // Uses the 10 MB envelope.
  bool latched = false;  // A late joiner gets the last message.

  // "norvik_simulator (1234) on robot"
  std::string owner() const;
};

struct Channel {
  std::string name;
  std::vector<Endpoint> endpoints;

  bool has(Role role) const;
  bool is_service() const { return has(Role::kServes) || has(Role::kCalls); }
  // The type that the sending side announces, or the receiving side if that is all there is.
  std::string type() const;
};

// All announced channels, by name.
std::vector<Channel> channels_of(const Topology& topology);

// One DDS topic that can be listened to.
struct ListenTarget {
  std::string topic;
  std::string type = kRawType;
  bool large = false;
  bool latched = false;
};

// Finds the topic, which may also be the request or response side of a service. Else false, with the reason.
bool find_target(const std::vector<Channel>& channels, const std::string& topic, ListenTarget& target,
                 Complaint& complaint);

}  // namespace norvik::tools
