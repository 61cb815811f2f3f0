#pragma once

#include <fastdds/rtps/transport/TransportInterface.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include <chrono>
#include <memory>

#include "dds/transport/port_watch.hpp"

namespace norvik::ovimux {

// The sending half of shared memory: a segment of its own, and the ports of all it has sent to. A port that was opened
// once stays mapped for as long as the sender lives. For one thread at a time.
class SegmentSender {
 public:
  using Descriptor = eprosima::fastdds::rtps::SharedMemTransportDescriptor;
  using Locators = eprosima::fastdds::rtps::LocatorsIterator;

  // Touches the whole segment: some 10 ms for 16 MB. Null when the segment cannot be made.
  static std::unique_ptr<SegmentSender> make(const Descriptor& descriptor);

  // Sends to those of the locators that are shared memory. What does not fit is dropped.
  bool send(const uint8_t* data, uint32_t size, Locators& begin, Locators& end,
            const std::chrono::steady_clock::time_point& deadline);

  // A port that belongs to another process than the one that this sender still sends to.
  std::optional<uint32_t> replaced_port() const { return ports_.replaced_port(); }

 private:
  SegmentSender();

  // The resources use the transport, so they go first.
  std::unique_ptr<eprosima::fastdds::rtps::TransportInterface> transport_;
  eprosima::fastdds::rtps::SendResourceList resources_;
  PortWatch ports_;
};

}  // namespace norvik::ovimux
