#include "dds/discovery.hpp"

#include <fastdds/dds/core/policy/ParameterTypes.hpp>
#include <fastdds/rtps/participant/ParticipantDiscoveryInfo.h>
#include <fastdds/rtps/reader/ReaderDiscoveryInfo.h>
#include <fastdds/rtps/writer/WriterDiscoveryInfo.h>
#include <fastrtps/utils/IPLocator.h>

#include <algorithm>
#include <cstdlib>

namespace norvik::tools {
namespace {

namespace dds = eprosima::fastdds::dds;
namespace rtps = eprosima::fastrtps::rtps;

PeerId peer_id(const rtps::GUID_t& guid) {
  PeerId id{};
  std::copy_n(guid.guidPrefix.value, id.size(), id.begin());
  return id;
}

EndpointId endpoint_id(const rtps::GUID_t& guid) {
  EndpointId id{};
  std::copy_n(guid.guidPrefix.value, rtps::GuidPrefix_t::size, id.begin());
  std::copy_n(guid.entityId.value, rtps::EntityId_t::size, id.begin() + rtps::GuidPrefix_t::size);
  return id;
}

std::string property(const rtps::ParticipantProxyData& data, const char* name) {
  for (const auto& entry : data.m_properties) {
    if (entry.first() == name) {
      return entry.second();
    }
  }
  return "";
}

std::vector<PeerAddress> addresses_of(const rtps::ParticipantProxyData& data) {
  std::vector<PeerAddress> addresses;
  for (const auto& locator : data.metatraffic_locators.unicast) {
    if (locator.kind == LOCATOR_KIND_UDPv4) {
      addresses.push_back({rtps::IPLocator::ip_to_string(locator), rtps::IPLocator::getPhysicalPort(locator)});
    } else if (locator.kind == LOCATOR_KIND_SHM) {  // Fast DDS drops those of other machines.
      addresses.push_back({"", static_cast<uint16_t>(locator.port)});
    }
  }
  return addresses;
}

// Fast DDS puts a number behind the host's name.
std::string host_of(const rtps::ParticipantProxyData& data) {
  const std::string text = property(data, dds::parameter_policy_physical_data_host);
  return text.substr(0, text.rfind(':'));
}

void describe(const rtps::ParticipantProxyData& data, Peer& peer) {
  peer.id = peer_id(data.m_guid);
  peer.name = data.m_participantName.to_string();
  peer.host = host_of(data);
  peer.pid = std::atoi(property(data, dds::parameter_policy_physical_data_process).c_str());
  peer.addresses = addresses_of(data);
}

template <typename Proxy>
DdsEndpoint describe_endpoint(const Proxy& proxy, bool is_writer) {
  DdsEndpoint endpoint;
  endpoint.topic = proxy.topicName().to_string();
  endpoint.type = proxy.typeName().to_string();
  endpoint.is_writer = is_writer;
  endpoint.is_reliable = proxy.m_qos.m_reliability.kind == dds::RELIABLE_RELIABILITY_QOS;
  endpoint.is_latched = proxy.m_qos.m_durability.kind != dds::VOLATILE_DURABILITY_QOS;
  endpoint.is_keyed = proxy.topicKind() == rtps::WITH_KEY;
  endpoint.is_exclusive = proxy.m_qos.m_ownership.kind == dds::EXCLUSIVE_OWNERSHIP_QOS;
  endpoint.partitions = proxy.m_qos.m_partition.names();
  return endpoint;
}

}  // namespace

std::vector<Peer> Discovery::peers() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Peer> peers;
  for (const auto& [id, peer] : peers_) {
    peers.push_back(peer);
  }
  return peers;
}

void Discovery::on_participant_discovery(Participant* /*participant*/, rtps::ParticipantDiscoveryInfo&& info) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (info.status == rtps::ParticipantDiscoveryInfo::REMOVED_PARTICIPANT ||
      info.status == rtps::ParticipantDiscoveryInfo::DROPPED_PARTICIPANT) {
    peers_.erase(peer_id(info.info.m_guid));
  } else {
    describe(info.info, peers_[peer_id(info.info.m_guid)]);
  }
  ++changes_;
}

void Discovery::on_publisher_discovery(Participant* /*participant*/, rtps::WriterDiscoveryInfo&& info) {
  if (info.status == rtps::WriterDiscoveryInfo::REMOVED_WRITER) {
    forget(endpoint_id(info.info.guid()));
    return;
  }
  DdsEndpoint endpoint = describe_endpoint(info.info, true);
  endpoint.representations = {info.info.m_qos.representation.m_value.begin(),
                              info.info.m_qos.representation.m_value.end()};
  keep(endpoint_id(info.info.guid()), std::move(endpoint));
}

void Discovery::on_subscriber_discovery(Participant* /*participant*/, rtps::ReaderDiscoveryInfo&& info) {
  if (info.status == rtps::ReaderDiscoveryInfo::REMOVED_READER) {
    forget(endpoint_id(info.info.guid()));
    return;
  }
  keep(endpoint_id(info.info.guid()), describe_endpoint(info.info, false));
}

void Discovery::keep(const EndpointId& id, DdsEndpoint endpoint) {
  const std::lock_guard<std::mutex> lock(mutex_);
  Peer& peer = peers_[peer_of(id)];
  peer.id = peer_of(id);
  peer.endpoints[id] = std::move(endpoint);
  ++changes_;
}

void Discovery::forget(const EndpointId& id) {
  const std::lock_guard<std::mutex> lock(mutex_);
  if (const auto peer = peers_.find(peer_of(id)); peer != peers_.end()) {
    peer->second.endpoints.erase(id);
  }
  ++changes_;
}

}  // namespace norvik::tools
