// Feeds arbitrary bytes and sizes to the decoders of pictures. A matrix must lie within its record.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <opencv2/core.hpp>
#include <norvik_sdk/sensors.hpp>

namespace {

struct Size {
  uint16_t height = 0;
  uint16_t width = 0;
};

template <typename Record>
void decode_raw(const Size& size, const uint8_t* data, size_t length) {
  Record record;
  record.height = size.height;
  record.width = size.width;
  record.data.assign(data, data + length);
  const auto picture = record.convert_to_cv2_mat();
  if (picture && cv::sum(*picture)[0] < 0.0) {  // Reads every pixel.
    std::abort();
  }
}

// The image library reports what it cannot bear with its own exception, which passes through.
void decode_colour(const uint8_t* data, size_t length) {
  norvik::sdk::RgbData record;
  record.data.assign(data, data + length);
  try {
    record.convert_to_cv2_mat();
  } catch (const cv::Exception&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t length) {
  Size size;
  if (length < sizeof(size)) {
    return 0;
  }
  std::memcpy(&size, data, sizeof(size));
  data += sizeof(size);
  length -= sizeof(size);
  decode_raw<norvik::sdk::DepthData>(size, data, length);
  decode_raw<norvik::sdk::IrData>(size, data, length);
  decode_colour(data, length);
  return 0;
}
