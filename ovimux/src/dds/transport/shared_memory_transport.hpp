#pragma once

#include <fastdds/rtps/transport/ChainingTransport.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include <chrono>
#include <memory>
#include <mutex>

#include "dds/transport/segment_sender.hpp"

namespace norvik::ovimux {

// Shared memory that finds the successor of a killed peer. Fast DDS takes a participant with this descriptor for one
// with its own shared memory, towards peers there is no difference.
struct SharedMemoryDescriptor : eprosima::fastdds::rtps::SharedMemTransportDescriptor {
  eprosima::fastdds::rtps::TransportInterface* create_transport() const override;
};

// The transport of Fast DDS in two halves: one receives, as long as the participant lives; the other one sends.
//
// The transport of Fast DDS never closes a port that it has sent to. A process that is killed leaves its port behind,
// and its successor replaces the file. What the dead one was processing at that moment keeps the usual test, a waiting
// listener that no longer counts, from ever failing: the sender would go on filling a port that nobody reads. So the
// sending half looks, a few times a second, whether its ports are still those that other processes listen to, and is
// made anew when one is not.
class SharedMemoryTransport : public eprosima::fastdds::rtps::ChainingTransport {
 public:
  explicit SharedMemoryTransport(const SharedMemoryDescriptor& descriptor);

  bool init(const eprosima::fastrtps::rtps::PropertyPolicy* properties) override;

  // One sender serves all locators.
  bool OpenOutputChannel(eprosima::fastdds::rtps::SendResourceList& resources,
                         const eprosima::fastrtps::rtps::Locator_t& locator) override;

  // `resource` belongs to the receiving half and carries nothing.
  bool send(eprosima::fastrtps::rtps::SenderResource* resource, const uint8_t* data, uint32_t size,
            eprosima::fastrtps::rtps::LocatorsIterator* begin, eprosima::fastrtps::rtps::LocatorsIterator* end,
            const std::chrono::steady_clock::time_point& deadline) override;

  void receive(eprosima::fastdds::rtps::TransportReceiverInterface* next, const uint8_t* data, uint32_t size,
               const eprosima::fastrtps::rtps::Locator_t& local,
               const eprosima::fastrtps::rtps::Locator_t& remote) override;

  eprosima::fastdds::rtps::TransportDescriptorInterface* get_configuration() override { return &descriptor_; }

 private:
  using TimePoint = std::chrono::steady_clock::time_point;

  void look_at_ports(TimePoint now);
  void renew_sender(uint32_t replaced_port, TimePoint now);

  eprosima::fastdds::rtps::SharedMemTransportDescriptor descriptor_;
  // Held while sending. The participant sends one message at a time anyway.
  std::mutex mutex_;
  std::unique_ptr<SegmentSender> sender_;
  // Its last messages may still be on their way to processes that have yet to map its segment.
  std::unique_ptr<SegmentSender> retired_;
  TimePoint retired_at_;
  TimePoint next_look_;
  bool short_of_memory_ = false;
};

}  // namespace norvik::ovimux
