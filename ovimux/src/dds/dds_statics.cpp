#include "dds/dds_statics.hpp"

#include <fastdds/rtps/attributes/ServerAttributes.h>
#include <fastdds/rtps/transport/TransportInterface.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include <memory>

namespace norvik::ovimux {

void make_dds_statics() {
  eprosima::fastdds::rtps::ros_discovery_server_env();
  eprosima::fastdds::rtps::SharedMemTransportDescriptor shared_memory;
  constexpr uint32_t kSmallSegment = 64U << 10U;
  shared_memory.segment_size(kSmallSegment);
  shared_memory.max_message_size(kSmallSegment);
  const std::unique_ptr<eprosima::fastdds::rtps::TransportInterface> transport(shared_memory.create_transport());
  transport->init();  // Its watchdog, and the tasks of that.
}

}  // namespace norvik::ovimux
