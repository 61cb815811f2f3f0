// Feeds arbitrary bytes to the finder of a message's large field. Where it finds one, the message without it, with the
// field put back, must be the message that the whole payload makes.
#include <cstdlib>
#include <string>

#include "norvik/sensor_proto/image.pb.h"
#include "ovimux/dds/bulk_message.hpp"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace norvik;  // NOLINT(google-build-using-namespace)
  using sensor_proto::CompressedImage;
  const ovimux::BulkPart part = ovimux::find_bytes_field(data, size, CompressedImage::kDataFieldNumber);
  const std::string payload(reinterpret_cast<const char*>(data), size);
  CompressedImage whole;
  if (part.whole.size == 0 || !whole.ParseFromString(payload)) {
    return 0;
  }
  CompressedImage rest;
  const bool parsed =
      rest.ParseFromString(payload.substr(0, part.whole.offset) + payload.substr(part.whole.offset + part.whole.size));
  if (!parsed || !rest.data().empty()) {
    std::abort();
  }
  rest.set_data(payload.substr(part.content.offset, part.content.size));
  if (rest.SerializeAsString() != whole.SerializeAsString()) {
    std::abort();
  }
  return 0;
}
