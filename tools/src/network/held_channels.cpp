#include "network/held_channels.hpp"

#include <algorithm>
#include <map>

#include "network/picture.hpp"

namespace norvik::tools {
namespace {

const std::string kRequestSuffix = "__RPC__REQUEST";
const std::string kResponseSuffix = "__RPC__RESPONSE";

using Endpoints = std::vector<const DdsEndpoint*>;

// The endpoints of one participant on the two topics of one service.
struct ServiceEndpoints {
  Endpoints request_readers;
  Endpoints request_writers;
  Endpoints response_readers;
  Endpoints response_writers;

  Endpoints& of(const DdsEndpoint& endpoint, bool is_request) {
    if (is_request) {
      return endpoint.is_writer ? request_writers : request_readers;
    }
    return endpoint.is_writer ? response_writers : response_readers;
  }
};

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() > end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void add_topic(const DdsEndpoint& endpoint, std::vector<HeldChannel>& channels) {
  channels.push_back({endpoint.topic, endpoint.is_writer ? Role::kPublishes : Role::kReads, &endpoint});
}

// Only both topics together make a server or a client. What is left over just listens in, or is not complete yet.
void add_pairs(const std::string& service, Role role, const Endpoints& requests, const Endpoints& responses,
               std::vector<HeldChannel>& channels) {
  const size_t pairs = std::min(requests.size(), responses.size());
  for (size_t i = 0; i < requests.size(); ++i) {
    if (i < pairs) {
      channels.push_back({service, role, requests[i]});
    } else {
      add_topic(*requests[i], channels);
    }
  }
  for (size_t i = pairs; i < responses.size(); ++i) {
    add_topic(*responses[i], channels);
  }
}

}  // namespace

std::optional<ServiceSide> service_side(const std::string& topic) {
  for (const auto* suffix : {&kRequestSuffix, &kResponseSuffix}) {
    if (ends_with(topic, *suffix)) {
      return ServiceSide{topic.substr(0, topic.size() - suffix->size()), suffix == &kRequestSuffix};
    }
  }
  return std::nullopt;
}

std::string request_topic(const std::string& service) { return service + kRequestSuffix; }

std::string response_topic(const std::string& service) { return service + kResponseSuffix; }

std::vector<HeldChannel> channels_held_by(const Peer& peer) {
  std::vector<HeldChannel> channels;
  std::map<std::string, ServiceEndpoints> services;
  for (const auto& [id, endpoint] : peer.endpoints) {
    if (const auto side = service_side(endpoint.topic)) {
      services[side->service].of(endpoint, side->is_request).push_back(&endpoint);
    } else if (!is_internal(endpoint.topic)) {
      add_topic(endpoint, channels);
    }
  }
  for (auto& [service, ends] : services) {
    add_pairs(service, Role::kServes, ends.request_readers, ends.response_writers, channels);
    add_pairs(service, Role::kCalls, ends.request_writers, ends.response_readers, channels);
  }
  return channels;
}

}  // namespace norvik::tools
