#pragma once

#include <fastdds/dds/topic/TopicDataType.hpp>

#include <functional>
#include <string>

#include "dds/bytes.hpp"
#include "ovimux/dds/envelope.hpp"

namespace norvik::tools {

// A sample as it arrived: in an envelope, or as bytes of a type that nothing is known of.
struct RawSample {
  bool is_enveloped = false;
  bool is_malformed = false;
  ovimux::Envelope envelope;
  Bytes bytes;  // With the encapsulation of DDS; empty for an envelope.
};

// Fast DDS type support that takes samples of any type, under that type's name. It only reads.
class RawType : public eprosima::fastdds::dds::TopicDataType {
 public:
  RawType(const std::string& name, bool is_keyed);

  bool serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) override;
  // Never fails: Fast DDS would offer a sample that cannot be read again and again.
  bool deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) override;
  std::function<uint32_t()> getSerializedSizeProvider(void* data) override;
  void* createData() override;
  void deleteData(void* data) override;
  bool getKey(void* data, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool force_md5) override;
  bool is_bounded() const override { return false; }
  bool is_plain() const override { return false; }

 private:
  const bool is_large_;
  const bool is_enveloped_;
};

}  // namespace norvik::tools
