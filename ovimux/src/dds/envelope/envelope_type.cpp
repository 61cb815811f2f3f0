#include "dds/envelope/envelope_type.hpp"

#include "dds/envelope/envelope_codec.hpp"

namespace norvik::ovimux {
namespace {

// What a history slot starts with; payloads grow to what they carry.
constexpr uint32_t kInitialTypeSize = 512;

}  // namespace

EnvelopeType::EnvelopeType(bool large) : bound_(static_cast<size_t>(large ? kLargePayloadBound : kSmallPayloadBound)) {
  setName(large ? kLargeEnvelopeName : kSmallEnvelopeName);
  m_typeSize = kInitialTypeSize;
  m_isGetKeyDefined = false;
  auto_fill_type_object(false);
  auto_fill_type_information(false);
}

bool EnvelopeType::serialize(void* data, eprosima::fastrtps::rtps::SerializedPayload_t* payload) {
  const auto& envelope = *static_cast<const Envelope*>(data);
  const size_t length = encode_envelope(envelope, bound_, payload->data, payload->max_size);
  payload->encapsulation = CDR_LE;
  payload->length = static_cast<uint32_t>(length);
  return length != 0;
}

bool EnvelopeType::deserialize(eprosima::fastrtps::rtps::SerializedPayload_t* payload, void* data) {
  auto& envelope = *static_cast<Envelope*>(data);
  if (!decode_envelope(payload->data, payload->length, bound_, envelope)) {
    envelope.raw_data.clear();
    envelope.bulk.clear();
    envelope.pkg_len = -1;
  }
  return true;
}

std::function<uint32_t()> EnvelopeType::getSerializedSizeProvider(void* data) {
  const auto* envelope = static_cast<const Envelope*>(data);
  const size_t payload =
      envelope->source != nullptr ? static_cast<size_t>(envelope->pkg_len) : envelope->raw_data.size();
  const auto size = static_cast<uint32_t>(kEnvelopeHeaderSize + payload);
  return [size] { return size; };
}

void* EnvelopeType::createData() { return new Envelope; }

void EnvelopeType::deleteData(void* data) { delete static_cast<Envelope*>(data); }

bool EnvelopeType::getKey(void* /*data*/, eprosima::fastrtps::rtps::InstanceHandle_t* /*handle*/, bool /*md5*/) {
  return false;
}

}  // namespace norvik::ovimux
