#include "network/channel.hpp"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <optional>

#include "cli/near_names.hpp"
#include "ovimux/dds/dds_client_base.hpp"
#include "ovimux/qos.hpp"
#include "ovimux/role_attributes.pb.h"

namespace norvik::tools {
namespace {

using ovimux::proto::RoleAttributes;
using ovimux::proto::TopologyState;

std::optional<Role> role_of(const RoleAttributes& attributes) {
  switch (attributes.role_type()) {
    case ovimux::proto::ROLE_TYPE_WRITER:
      return Role::kPublishes;
    case ovimux::proto::ROLE_TYPE_READER:
      return Role::kReads;
    case ovimux::proto::ROLE_TYPE_SERVER:
      return Role::kServes;
    case ovimux::proto::ROLE_TYPE_CLIENT:
      return Role::kCalls;
    default:
      return std::nullopt;
  }
}

Endpoint make_endpoint(const TopologyState& state, const RoleAttributes& attributes, Role role) {
  const auto& quality = attributes.qos_profile().intra_core();
  return {role,
          state.process_name(),
          state.process_id(),
          state.host_name(),
          attributes.host_ip(),
          attributes.node_name(),
          attributes.message_type().empty() ? kRawType : attributes.message_type(),
          quality.payload_kind() == ovimux::kLargePayloadKind,
          quality.opaque_3() != 0 || quality.opaque_6() != 0};
}

const Endpoint* first_with(const Channel& channel, Role role) {
  for (const Endpoint& endpoint : channel.endpoints) {
    if (endpoint.role == role) {
      return &endpoint;
    }
  }
  return nullptr;
}

bool strip_suffix(std::string& name, const std::string& suffix) {
  if (name.size() <= suffix.size() || name.compare(name.size() - suffix.size(), suffix.size(), suffix) != 0) {
    return false;
  }
  name.resize(name.size() - suffix.size());
  return true;
}

const Channel* find_channel(const std::vector<Channel>& channels, const std::string& name) {
  const auto it = std::find_if(channels.begin(), channels.end(), [&name](const Channel& c) { return c.name == name; });
  return it == channels.end() ? nullptr : &*it;
}

// The two topics of a service carry no announcement of their own.
bool find_service_side(const std::vector<Channel>& channels, const std::string& topic, ListenTarget& target) {
  std::string service = topic;
  const bool is_request = strip_suffix(service, ovimux::RPC_CHANNEL_REQ_SUFFIX);
  if (!is_request && !strip_suffix(service, ovimux::RPC_CHANNEL_RES_SUFFIX)) {
    return false;
  }
  const Channel* channel = find_channel(channels, service);
  if (channel == nullptr || !channel->is_service()) {
    return false;
  }
  // Only the type of the requests is announced.
  target = {topic, is_request ? channel->type() : kRawType, channel->endpoints.front().large, false};
  return true;
}

Complaint unknown_topic(const std::vector<Channel>& channels, const std::string& topic) {
  std::vector<std::string> names;
  names.reserve(channels.size());
  for (const Channel& channel : channels) {
    names.push_back(channel.name);
  }
  Complaint complaint{fmt::format("nobody announces a topic \"{}\"", topic), {}};
  const auto meant = near_names(topic, names);
  if (!meant.empty()) {
    complaint.hints.push_back(fmt::format("did you mean: {}", fmt::join(meant, ", ")));
  }
  complaint.hints.emplace_back("norvik topics lists all of them");
  return complaint;
}

Complaint not_published(const Channel& channel) {
  Complaint complaint{fmt::format("nobody publishes \"{}\"", channel.name), {}};
  for (const Endpoint& endpoint : channel.endpoints) {
    complaint.hints.push_back(fmt::format("{} {} it", endpoint.owner(), role_name(endpoint.role)));
  }
  return complaint;
}

}  // namespace

std::string Endpoint::owner() const { return fmt::format("{} ({}) on {}", process, pid, host); }

bool Channel::has(Role role) const { return first_with(*this, role) != nullptr; }

std::string Channel::type() const {
  for (const Role role : {Role::kPublishes, Role::kServes, Role::kCalls, Role::kReads}) {
    for (const Endpoint& endpoint : endpoints) {
      if (endpoint.role == role && endpoint.type != kRawType) {
        return endpoint.type;
      }
    }
  }
  return kRawType;
}

std::vector<Channel> channels_of(const Topology& topology) {
  std::map<std::string, Channel> by_name;
  for (const auto& state : topology) {
    for (const RoleAttributes& attributes : state->roles()) {
      if (const auto role = role_of(attributes)) {
        Channel& channel = by_name[attributes.channel_name()];
        channel.name = attributes.channel_name();
        channel.endpoints.push_back(make_endpoint(*state, attributes, *role));
      }
    }
  }
  std::vector<Channel> channels;
  for (auto& [name, channel] : by_name) {
    std::stable_sort(channel.endpoints.begin(), channel.endpoints.end(),
                     [](const Endpoint& a, const Endpoint& b) { return a.role < b.role; });
    channels.push_back(std::move(channel));
  }
  return channels;
}

bool find_target(const std::vector<Channel>& channels, const std::string& topic, ListenTarget& target,
                 Complaint& complaint) {
  const Channel* channel = find_channel(channels, topic);
  if (channel == nullptr) {
    if (find_service_side(channels, topic, target)) {
      return true;
    }
    complaint = unknown_topic(channels, topic);
    return false;
  }
  if (const Endpoint* publisher = first_with(*channel, Role::kPublishes)) {
    target = {topic, channel->type(), publisher->large, publisher->latched};
    return true;
  }
  if (channel->is_service()) {
    complaint = {fmt::format("\"{}\" is a service", topic),
                 {"its requests: " + topic + ovimux::RPC_CHANNEL_REQ_SUFFIX,
                  "its responses: " + topic + ovimux::RPC_CHANNEL_RES_SUFFIX}};
    return false;
  }
  complaint = not_published(*channel);
  return false;
}

}  // namespace norvik::tools
