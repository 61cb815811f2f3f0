#include "ovimux/dds/bare_dds.hpp"

#include "core/topology_peers.hpp"
#include "dds/envelope/envelope_codec.hpp"
#include "dds/participant.hpp"

namespace norvik::ovimux {

eprosima::fastdds::dds::DomainParticipant* CreateBareParticipant(
    eprosima::fastdds::dds::DomainParticipantFactory& factory) {
  return create_participant(factory);
}

bool DecodeEnvelope(const uint8_t* sample, size_t size, bool large, Envelope& envelope) {
  return decode_envelope(sample, size, static_cast<size_t>(large ? kLargePayloadBound : kSmallPayloadBound), envelope);
}

const char* AnnouncementTopic() { return kTopologyTopic; }

}  // namespace norvik::ovimux
