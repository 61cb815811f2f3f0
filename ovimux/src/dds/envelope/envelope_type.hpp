#pragma once

#include <fastdds/dds/topic/TopicDataType.hpp>

#include <functional>

#include "ovimux/dds/envelope.hpp"

namespace norvik::ovimux {

// Fast DDS type support of both envelopes; its samples are Envelope records. Declared unbounded with a small type size:
// what fastddsgen makes of the IDL reserves the maximum, ten megabytes, for every slot of every history.
class EnvelopeType : public eprosima::fastdds::dds::TopicDataType {
 public:
  explicit EnvelopeType(bool large);

  bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override;

  // A malformed payload is turned into an envelope whose pkg_len is -1 and never fails, because Fast DDS would offer a
  // sample that cannot be deserialised again and again; the receiver drops it at its length check.
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override;

  std::function<uint32_t()> getSerializedSizeProvider(void* data) override;
  void* createData() override;
  void deleteData(void* data) override;
  bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool force_md5) override;
  bool is_bounded() const override { return false; }
  bool is_plain() const override { return false; }

 private:
  const size_t bound_;
};

}  // namespace norvik::ovimux
