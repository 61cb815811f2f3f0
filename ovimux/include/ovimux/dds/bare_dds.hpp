#pragma once

#include <cstddef>
#include <cstdint>

#include "ovimux/dds/envelope.hpp"
#include "ovimux/export.hpp"

namespace eprosima::fastdds::dds {
class DomainParticipant;
class DomainParticipantFactory;
}  // namespace eprosima::fastdds::dds

namespace norvik::ovimux {

// For programs that look at the network below the level of nodes, such as the command line tool.

// A participant besides the one of the nodes, with the same settings. The caller deletes it. Null, with a log record,
// when DDS refuses.
OVIMUX_EXPORT eprosima::fastdds::dds::DomainParticipant* CreateBareParticipant(
    eprosima::fastdds::dds::DomainParticipantFactory& factory);

// Reads a sample of an envelope type as it travels, encapsulation included. False, with `envelope` unspecified, for
// bytes that are none. `large`: of the 10 MB envelope.
OVIMUX_EXPORT bool DecodeEnvelope(const uint8_t* sample, size_t size, bool large, Envelope& envelope);

// Latched; every process that is built with this library writes its endpoints here, as a proto::TopologyState.
OVIMUX_EXPORT const char* AnnouncementTopic();

}  // namespace norvik::ovimux
