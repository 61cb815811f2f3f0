#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "cli/near_names.hpp"
#include "network/channel.hpp"
#include "network/held_channels.hpp"

namespace norvik::tools {
namespace {

using Endpoints = std::vector<const DdsEndpoint*>;

Endpoints endpoints_on(const Picture& picture, const std::string& topic, bool writers) {
  Endpoints found;
  for (const Member& member : picture) {
    for (const auto& [id, endpoint] : member.peer.endpoints) {
      if (endpoint.topic == topic && endpoint.is_writer == writers) {
        found.push_back(&endpoint);
      }
    }
  }
  return found;
}

const Channel* find_channel(const std::vector<Channel>& channels, const std::string& name) {
  const auto it = std::find_if(channels.begin(), channels.end(), [&name](const Channel& c) { return c.name == name; });
  return it == channels.end() ? nullptr : &*it;
}

// Of several types the one that can be decoded.
std::string best_type(const Endpoints& endpoints) {
  const auto enveloped =
      std::find_if(endpoints.begin(), endpoints.end(), [](const auto* e) { return e->is_enveloped(); });
  return enveloped != endpoints.end() ? (*enveloped)->type : endpoints.front()->type;
}

// What every one of the endpoints of that type offers.
ListenTarget common_offer(const Endpoints& endpoints) {
  ListenTarget target;
  target.topic = endpoints.front()->topic;
  target.dds_type = best_type(endpoints);
  target.is_reliable = target.is_latched = true;
  for (const DdsEndpoint* endpoint : endpoints) {
    if (endpoint->type != target.dds_type) {
      continue;
    }
    target.is_reliable = target.is_reliable && endpoint->is_reliable;
    target.is_latched = target.is_latched && endpoint->is_latched;
    target.is_keyed = endpoint->is_keyed;
    target.is_exclusive = endpoint->is_exclusive;
    target.representations = endpoint->representations;
    target.partitions.insert(target.partitions.end(), endpoint->partitions.begin(), endpoint->partitions.end());
  }
  return target;
}

// Of a service's responses nobody announces the type.
std::string message_type(const std::vector<Channel>& channels, const std::string& topic) {
  const auto side = service_side(topic);
  const std::string name = side ? side->service : topic;
  if (side && !side->is_request) {
    const ModelChannel* known = known_channel(name);
    return known != nullptr ? known->response_type : kUnknownType;
  }
  const Channel* channel = find_channel(channels, name);
  return channel != nullptr ? channel->type() : kUnknownType;
}

Complaint unknown_topic(const std::vector<Channel>& channels, const std::string& topic) {
  std::vector<std::string> names;
  names.reserve(channels.size());
  for (const Channel& channel : channels) {
    names.push_back(channel.name);
  }
  Complaint complaint{fmt::format("nobody has a topic \"{}\"", topic), {}};
  const auto meant = near_names(topic, names);
  if (!meant.empty()) {
    complaint.hints.push_back(fmt::format("did you mean: {}", fmt::join(meant, ", ")));
  }
  complaint.hints.emplace_back("norvik topics lists all of them");
  return complaint;
}

Complaint not_published(const Channel& channel) {
  if (channel.is_service()) {
    return {fmt::format("\"{}\" is a service", channel.name),
            {"its requests: " + request_topic(channel.name), "its responses: " + response_topic(channel.name)}};
  }
  Complaint complaint{fmt::format("nobody publishes \"{}\"", channel.name), {}};
  for (const Endpoint& endpoint : channel.endpoints) {
    complaint.hints.push_back(fmt::format("{} {} it", endpoint.owner.text(), role_name(endpoint.role)));
  }
  return complaint;
}

}  // namespace

bool find_target(const Picture& picture, const std::string& topic, ListenTarget& target, Complaint& complaint) {
  const auto channels = channels_of(picture);
  Endpoints offering = endpoints_on(picture, topic, true);
  if (offering.empty() && service_side(topic)) {
    offering = endpoints_on(picture, topic, false);  // Requests come from clients that may not be there yet.
  }
  if (!offering.empty()) {
    target = common_offer(offering);
    target.type = message_type(channels, topic);
    return true;
  }
  const Channel* channel = find_channel(channels, topic);
  complaint = channel != nullptr ? not_published(*channel) : unknown_topic(channels, topic);
  return false;
}

}  // namespace norvik::tools
