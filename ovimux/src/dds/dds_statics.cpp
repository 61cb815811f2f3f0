#include "dds/dds_statics.hpp"

#include <fastdds/rtps/attributes/ServerAttributes.h>
#include <fastdds/rtps/transport/TransportInterface.h>
#include <fastdds/rtps/transport/shared_mem/SharedMemTransportDescriptor.h>

#include <memory>

#include "dds/transport/shared_memory_files.hpp"

namespace norvik::ovimux {

void make_dds_statics() {
  eprosima::fastdds::rtps::ros_discovery_server_env();
  constexpr uint32_t kSmallSegment = 64U << 10U;
  constexpr uint64_t kRoom = 16ULL * kSmallSegment;
  if (free_shared_memory() < kRoom) {
    return;  // The participant will not use it either.
  }
  eprosima::fastdds::rtps::SharedMemTransportDescriptor shared_memory;
  shared_memory.segment_size(kSmallSegment);
  shared_memory.max_message_size(kSmallSegment);
  const std::unique_ptr<eprosima::fastdds::rtps::TransportInterface> transport(shared_memory.create_transport());
  transport->init();  // Its watchdog, and the tasks of that.
}

}  // namespace norvik::ovimux
