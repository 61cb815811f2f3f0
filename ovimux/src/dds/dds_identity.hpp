#pragma once

#include <fastdds/rtps/common/SampleIdentity.h>

#include <algorithm>
#include <array>
#include <cstdint>

#include "ovimux/dds/sample_identity.hpp"

namespace norvik::ovimux {

// The identity of a sample in the words of Fast DDS and in ours. A GUID is a prefix of 12 bytes and an entity of 4.

inline std::array<uint8_t, 16> from_dds(const eprosima::fastrtps::rtps::GUID_t& guid) {
  std::array<uint8_t, 16> bytes{};
  std::copy_n(guid.guidPrefix.value, 12, bytes.begin());
  std::copy_n(guid.entityId.value, 4, bytes.begin() + 12);
  return bytes;
}

inline eprosima::fastrtps::rtps::GUID_t to_dds(const std::array<uint8_t, 16>& bytes) {
  eprosima::fastrtps::rtps::GUID_t guid;
  std::copy_n(bytes.begin(), 12, guid.guidPrefix.value);
  std::copy_n(bytes.begin() + 12, 4, guid.entityId.value);
  return guid;
}

inline SampleIdentity from_dds(const eprosima::fastrtps::rtps::SampleIdentity& identity) {
  return {from_dds(identity.writer_guid()), identity.sequence_number().to64long()};
}

inline eprosima::fastrtps::rtps::SampleIdentity to_dds(const SampleIdentity& identity) {
  eprosima::fastrtps::rtps::SampleIdentity result;
  result.writer_guid(to_dds(identity.writer_guid));
  result.sequence_number(eprosima::fastrtps::rtps::SequenceNumber_t(identity.sequence_number));
  return result;
}

}  // namespace norvik::ovimux
