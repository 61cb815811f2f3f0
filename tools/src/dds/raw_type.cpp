#include "dds/raw_type.hpp"

#include "ovimux/dds/bare_dds.hpp"

namespace norvik::tools {
namespace {

// What a history slot starts with; payloads grow to what they carry.
constexpr uint32_t kInitialTypeSize = 512;

}  // namespace

RawType::RawType(const std::string& name, bool is_keyed)
    : is_large_(name == ovimux::kLargeEnvelopeName), is_enveloped_(is_large_ || name == ovimux::kSmallEnvelopeName) {
  setName(name.c_str());
  m_typeSize = kInitialTypeSize;
  m_isGetKeyDefined = is_keyed;
  auto_fill_type_object(false);
  auto_fill_type_information(false);
}

bool RawType::serialize(void* /*data*/, eprosima::fastrtps::rtps::SerializedPayload_t* /*payload*/) { return false; }

bool RawType::deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) {
  auto& sample = *static_cast<RawSample*>(data);
  sample.is_enveloped = is_enveloped_;
  sample.bytes.clear();
  if (is_enveloped_) {
    sample.is_malformed = !ovimux::DecodeEnvelope(payload->data, payload->length, is_large_, sample.envelope);
  } else {
    sample.bytes.assign(payload->data, payload->data + payload->length);
  }
  return true;
}

std::function<uint32_t()> RawType::getSerializedSizeProvider(void* /*data*/) {
  return [] { return kInitialTypeSize; };
}

void* RawType::createData() { return new RawSample; }

void RawType::deleteData(void* data) { delete static_cast<RawSample*>(data); }

// All instances of a keyed topic are one to this reader.
bool RawType::getKey(void* /*data*/, eprosima::fastrtps::rtps::InstanceHandle_t* handle, bool /*force_md5*/) {
  handle->value[0] = 1;
  return true;
}

}  // namespace norvik::tools
