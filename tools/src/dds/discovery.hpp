#pragma once

#include <fastdds/dds/domain/DomainParticipantListener.hpp>

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <vector>

#include "dds/peer.hpp"

namespace norvik::tools {

// Keeps what DDS discovery tells: every participant of the domain with its endpoints, whoever made it. Participants
// that leave or whose lease ends go.
class Discovery : public eprosima::fastdds::dds::DomainParticipantListener {
 public:
  std::vector<Peer> peers() const;
  // Grows with every change.
  uint64_t changes() const { return changes_; }

 private:
  using Participant = eprosima::fastdds::dds::DomainParticipant;

  void on_participant_discovery(Participant* participant,
                                eprosima::fastrtps::rtps::ParticipantDiscoveryInfo&& info) override;
  void on_publisher_discovery(Participant* participant, eprosima::fastrtps::rtps::WriterDiscoveryInfo&& info) override;
  void on_subscriber_discovery(Participant* participant, eprosima::fastrtps::rtps::ReaderDiscoveryInfo&& info) override;

  void keep(const EndpointId& id, DdsEndpoint endpoint);
  void forget(const EndpointId& id);

  mutable std::mutex mutex_;
  std::map<PeerId, Peer> peers_;
  std::atomic<uint64_t> changes_{0};
};

}  // namespace norvik::tools
