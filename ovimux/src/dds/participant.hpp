#pragma once

#include <fastdds/dds/domain/DomainParticipant.hpp>
#include <fastdds/dds/domain/DomainParticipantFactory.hpp>
#include <fastdds/dds/domain/qos/DomainParticipantQos.hpp>

#include <functional>
#include <string>

namespace norvik::ovimux {

// What the environment says about discovery. Values that make no sense are logged and replaced by the default.
struct ParticipantSettings {
  int domain_id = 0;            // OVIMUX_DOMAIN_ID, 0 to 232.
  bool localhost_only = false;  // OVIMUX_LOCALHOST_ONLY=1
};

ParticipantSettings parse_participant_settings(const char* domain_id, const char* localhost_only);

// Those of this process's environment, read once.
ParticipantSettings participant_settings();

// An id, and with it ports, that nobody seems to have used. The lowest free one, the default, is often that of a
// process that was killed, and peers with a plain Fast DDS that knew it go on sending to the shared memory it left
// behind: they would never reach its successor. The left-over file tells; `exists` says whether a file is there.
int choose_participant_id(int domain_id, const std::function<bool(const std::string&)>& exists);

// Transports and discovery tuned for samples of up to 10 MB. Shared memory is used only if /dev/shm has room: a segment
// that does not fit ends the process with SIGBUS.
eprosima::fastdds::dds::DomainParticipantQos make_participant_qos(const ParticipantSettings& settings,
                                                                  uint64_t shared_memory_free);

// Makes the process's participant. A participant profile named "ovimux" in the XML file that Fast DDS loads replaces
// the settings made here. Null when DDS refuses.
eprosima::fastdds::dds::DomainParticipant* create_participant(
    eprosima::fastdds::dds::DomainParticipantFactory& factory);

}  // namespace norvik::ovimux
