#pragma once

#include <fastdds/dds/core/status/StatusMask.hpp>
#include <fastdds/dds/publisher/qos/DataWriterQos.hpp>
#include <fastdds/dds/subscriber/qos/DataReaderQos.hpp>

#include "ovimux/dds/dds_tools.hpp"

namespace norvik::ovimux {

eprosima::fastdds::dds::DataWriterQos make_writer_qos(const EndpointPolicy& policy);
eprosima::fastdds::dds::DataReaderQos make_reader_qos(const EndpointPolicy& policy);

// The events our listeners handle.
eprosima::fastdds::dds::StatusMask writer_status_mask();
eprosima::fastdds::dds::StatusMask reader_status_mask();

// The name of a policy in a report of incompatible quality.
const char* policy_name(uint32_t policy_id);

}  // namespace norvik::ovimux
