#include "dds/participant.hpp"

#include <unistd.h>
#include <fastdds/rtps/transport/UDPv4TransportDescriptor.h>
#include <fastrtps/utils/IPLocator.h>

#include <atomic>
#include <cstdlib>
#include <memory>

#include "dds/transport/shared_memory_files.hpp"
#include "dds/transport/shared_memory_transport.hpp"
#include "ovimux/core/global_data.hpp"
#include "ovimux/log.hpp"

namespace norvik::ovimux {
namespace {

using eprosima::fastdds::dds::DomainParticipant;
using eprosima::fastdds::dds::DomainParticipantFactory;
using eprosima::fastdds::dds::DomainParticipantQos;
using eprosima::fastdds::rtps::UDPv4TransportDescriptor;
using eprosima::fastrtps::rtps::IPLocator;
using eprosima::fastrtps::rtps::Locator_t;
using eprosima::fastrtps::types::ReturnCode_t;

constexpr int kMaxDomainId = 232;
constexpr const char* kProfileName = "ovimux";

constexpr uint32_t kSegmentSize = 16U << 20U;
// Several processes start at once, and each touches its whole segment.
constexpr uint64_t kSharedMemoryHeadroom = 4ULL * kSegmentSize;
constexpr uint32_t kPortQueueCapacity = 8192;
// Fragments take the smallest of all transports, so shared memory gets the size of a datagram too.
constexpr uint32_t kMaxMessageSize = 65500;
constexpr uint32_t kSocketBufferSize = 4U << 20U;
// Participant ids that are asked for, and a few more for those who find theirs taken and move up. With domain 232 the
// highest port is just below 65536.
constexpr int kParticipantIds = 56;
constexpr uint32_t kMaxPeersPerAddress = 62;
constexpr const char* kLoopback = "127.0.0.1";
constexpr const char* kDiscoveryMulticast = "239.255.0.1";

// Port 0 stands for the unicast discovery ports of kMaxPeersPerAddress participants.
void add_peer(DomainParticipantQos& qos, const char* address, uint32_t port) {
  Locator_t locator;
  IPLocator::setIPv4(locator, address);
  locator.port = port;
  qos.wire_protocol().builtin.initialPeersList.push_back(locator);
}

void add_transports(DomainParticipantQos& qos, bool localhost_only, uint64_t shared_memory_free) {
  auto& transports = qos.transport();
  transports.use_builtin_transports = false;
  if (shared_memory_free > kSharedMemoryHeadroom) {
    auto shared_memory = std::make_shared<SharedMemoryDescriptor>();
    shared_memory->segment_size(kSegmentSize);
    shared_memory->max_message_size(kMaxMessageSize);
    shared_memory->port_queue_capacity(kPortQueueCapacity);
    transports.user_transports.push_back(std::move(shared_memory));
  } else {
    OVIMUX_LOG(kWarning) << "/dev/shm has " << shared_memory_free << " bytes free, " << kSharedMemoryHeadroom
                         << " are needed: using UDP only";
  }
  auto udp = std::make_shared<UDPv4TransportDescriptor>();
  udp->sendBufferSize = kSocketBufferSize;
  udp->receiveBufferSize = kSocketBufferSize;
  udp->maxInitialPeersRange = kMaxPeersPerAddress;
  if (localhost_only) {
    udp->interfaceWhiteList = {kLoopback};
  }
  transports.user_transports.push_back(std::move(udp));
}

// The port that every DDS implementation listens on for discovery.
uint32_t discovery_multicast_port(int domain_id) {
  const eprosima::fastrtps::rtps::PortParameters ports;
  return ports.getMulticastPort(static_cast<uint32_t>(domain_id));
}

// The shared memory port of a participant, numbered like its UDP port.
std::string port_file(int domain_id, int participant_id) {
  const eprosima::fastrtps::rtps::PortParameters ports;
  return shared_memory_port_file(
      ports.getUnicastPort(static_cast<uint32_t>(domain_id), static_cast<uint32_t>(participant_id)));
}

int parse_domain_id(const char* text) {
  if (text == nullptr || *text == '\0') {
    return 0;
  }
  char* end = nullptr;
  const long value = std::strtol(text, &end, 10);
  if (*end != '\0' || value < 0 || value > kMaxDomainId) {
    OVIMUX_LOG(kError) << "OVIMUX_DOMAIN_ID is \"" << text << "\", expected 0 to " << kMaxDomainId << ": using 0";
    return 0;
  }
  return static_cast<int>(value);
}

bool parse_localhost_only(const char* text) {
  const std::string value = text != nullptr ? text : "";
  if (!value.empty() && value != "0" && value != "1") {
    OVIMUX_LOG(kError) << "OVIMUX_LOCALHOST_ONLY is \"" << value << "\", expected 0 or 1: using 0";
  }
  return value == "1";
}

}  // namespace

ParticipantSettings parse_participant_settings(const char* domain_id, const char* localhost_only) {
  return {parse_domain_id(domain_id), parse_localhost_only(localhost_only)};
}

ParticipantSettings participant_settings() {
  static const auto settings =
      parse_participant_settings(std::getenv("OVIMUX_DOMAIN_ID"), std::getenv("OVIMUX_LOCALHOST_ONLY"));
  return settings;
}

int choose_participant_id(int domain_id, const std::function<bool(const std::string&)>& exists) {
  static std::atomic<int> chosen{0};
  const int first = (getpid() + chosen++) % kParticipantIds;
  for (int i = 0; i < kParticipantIds; ++i) {
    const int id = (first + i) % kParticipantIds;
    if (!exists(port_file(domain_id, id))) {
      return id;
    }
  }
  return first;
}

DomainParticipantQos make_participant_qos(const ParticipantSettings& settings, uint64_t shared_memory_free) {
  DomainParticipantQos qos;
  add_transports(qos, settings.localhost_only, shared_memory_free);
  auto& discovery = qos.wire_protocol().builtin.discovery_config;
  // The default of 3 s makes an unlucky start wait that long.
  discovery.leaseDuration_announcementperiod = {0, 250000000};
  // After this time a peer that died is forgotten.
  discovery.leaseDuration = {5, 0};
  add_peer(qos, kLoopback, 0);
  if (!settings.localhost_only) {
    add_peer(qos, kDiscoveryMulticast, discovery_multicast_port(settings.domain_id));
  }
  qos.wire_protocol().participant_id =
      choose_participant_id(settings.domain_id, [](const std::string& path) { return file_id(path) != 0; });
  qos.name("ovimux/" + GlobalData::Instance()->process_name());
  return qos;
}

DomainParticipant* create_participant(DomainParticipantFactory& factory) {
  const auto settings = participant_settings();
  factory.load_profiles();
  DomainParticipantQos qos;
  if (factory.get_participant_qos_from_profile(kProfileName, qos) != ReturnCode_t::RETCODE_OK) {
    qos = make_participant_qos(settings, free_shared_memory());
  }
  auto* participant = factory.create_participant(static_cast<uint32_t>(settings.domain_id), qos);
  if (participant == nullptr) {
    OVIMUX_LOG(kError) << "DDS participant could not be created, domain: " << settings.domain_id;
  }
  return participant;
}

}  // namespace norvik::ovimux
