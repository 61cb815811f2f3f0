// Images of the service, as matrices.

#include <array>
#include <cstdint>
#include <limits>
#include <string_view>
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include "impl/results/detection_conversion.hpp"
#include "sdk_log.hpp"

namespace PerceptionUtils {

namespace {

struct Encoding {
  std::string_view name;
  int type;
};

constexpr std::array<Encoding, 9> kEncodings{{{"mono8", CV_8UC1},
                                              {"8UC1", CV_8UC1},
                                              {"rgb8", CV_8UC3},
                                              {"bgr8", CV_8UC3},
                                              {"8UC3", CV_8UC3},
                                              {"16UC1", CV_16UC1},
                                              {"32FC1", CV_32FC1},
                                              {"bgra8", CV_8UC4},
                                              {"8UC4", CV_8UC4}}};

const Encoding* find_encoding(std::string_view name) {
  for (const Encoding& encoding : kEncodings) {
    if (encoding.name == name) {
      return &encoding;
    }
  }
  return nullptr;
}

// Whether `size` bytes hold all rows: whole ones but for the last, which may lack its padding. No product overflows,
// since height and step have 32 bits each.
bool holds_rows(uint64_t size, uint32_t height, uint64_t step, uint64_t row_bytes) {
  return row_bytes <= step && (height - uint64_t{1}) * step <= size &&
         row_bytes <= size - (height - uint64_t{1}) * step;
}

bool fits_matrix(uint32_t height, uint32_t width) {
  constexpr uint32_t kMost = std::numeric_limits<int>::max();
  return height <= kMost && width <= kMost;
}

}  // namespace

cv::Mat parse_proto_image(const norvik::sensor_proto::Image& image) {
  const std::string& data = image.data();
  if (image.height() == 0 || image.width() == 0 || data.empty()) {
    SDK_LOG(warning) << "parse_proto_image: empty image (h=" << image.height() << " w=" << image.width()
                     << " data_size=" << data.size() << ")";
    return {};
  }
  const Encoding* const encoding = find_encoding(image.encoding());
  if (encoding == nullptr) {
    SDK_LOG(error) << "parse_proto_image: unsupported encoding '" << image.encoding() << "'";
    return {};
  }
  const uint64_t row_bytes = uint64_t{image.width()} * CV_ELEM_SIZE(encoding->type);
  const uint64_t step = image.step() == 0 ? row_bytes : image.step();
  if (!fits_matrix(image.height(), image.width()) || !holds_rows(data.size(), image.height(), step, row_bytes) ||
      step % CV_ELEM_SIZE1(encoding->type) != 0) {
    SDK_LOG(error) << "parse_proto_image: size does not fit (h=" << image.height() << " w=" << image.width()
                   << " step=" << step << " encoding='" << image.encoding() << "' data_size=" << data.size() << ")";
    return {};
  }
  const cv::Mat view(static_cast<int>(image.height()), static_cast<int>(image.width()), encoding->type,
                     const_cast<char*>(data.data()), step);  // NOLINT: read only
  if (encoding->name != "rgb8") {
    return view.clone();
  }
  cv::Mat colours;
  cv::cvtColor(view, colours, cv::COLOR_RGB2BGR);
  return colours;
}

}  // namespace PerceptionUtils
