#include <cstdint>
#include <memory>
#include <optional>

#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>

#include <norvik_sdk/sensors.hpp>

#include "sdk_log.hpp"

namespace norvik::sdk {
namespace {

struct ImageSize {
  uint32_t height;
  uint32_t width;
};

// The picture sizes of the robots' cameras.
constexpr ImageSize kKnownSizes[] = {{720, 1280}, {480, 848}, {480, 640}, {240, 320}};

std::optional<ImageSize> infer_size(std::size_t pixels) {
  for (const ImageSize& size : kKnownSizes) {
    if (std::size_t{size.height} * size.width == pixels) return size;
  }
  return std::nullopt;
}

// Fills in an unknown size; false when the number of pixels tells nothing.
template <typename Image>
bool complete_size(Image& image, std::size_t pixels) {
  if (image.height != 0 && image.width != 0) return true;
  const auto size = infer_size(pixels);
  if (!size) return false;
  image.height = size->height;
  image.width = size->width;
  return true;
}

struct RawTexts {
  const char* no_data;
  const char* unknown_size;
  const char* no_matrix;
  const char* wrong_type;
};

constexpr RawTexts kDepthTexts{
    "DepthData Error: data is empty.",
    "DepthData Error: height and width are zero and cannot be inferred from data size.",
    "DepthData Error: cv::imdecode failed.",
    "DepthData Error: decoded image is not of type CV_16UC1.",
};
constexpr RawTexts kIrTexts{
    "IrData Error: data is empty.",
    "IrData Error: height and width are zero and cannot be inferred from data size.",
    "IrData Error: cv::Mat construction failed.",
    "IrData Error: decoded image is not of type CV_8UC1.",
};

std::shared_ptr<cv::Mat> fail(const char* text) {
  SDK_LOG(error) << text;
  return nullptr;
}

// A matrix over the record's own bytes; empty when they are fewer than height and width say.
template <typename Image>
cv::Mat wrap_pixels(Image& image, std::size_t pixels, int type) {
  if (pixels / image.width < image.height) return {};
  return {static_cast<int>(image.height), static_cast<int>(image.width), type, image.data.data()};
}

template <typename Image>
std::shared_ptr<cv::Mat> convert_raw(Image& image, int type, const RawTexts& texts) {
  if (image.data.empty()) return fail(texts.no_data);
  const std::size_t pixels = image.data.size() / static_cast<std::size_t>(CV_ELEM_SIZE(type));
  if (!complete_size(image, pixels)) return fail(texts.unknown_size);
  const cv::Mat mat = wrap_pixels(image, pixels, type);
  if (mat.empty()) return fail(texts.no_matrix);
  if (mat.type() != type) return fail(texts.wrong_type);
  return std::make_shared<cv::Mat>(mat);
}

}  // namespace

std::shared_ptr<cv::Mat> RgbData::convert_to_cv2_mat() const {
  if (data.empty()) return fail("RgbData Error: data is empty.");
  const cv::Mat mat = cv::imdecode(data, cv::IMREAD_COLOR);
  if (mat.empty()) return fail("RgbData Error: cv::imdecode failed.");
  return std::make_shared<cv::Mat>(mat);
}

std::shared_ptr<cv::Mat> DepthData::convert_to_cv2_mat() { return convert_raw(*this, CV_16UC1, kDepthTexts); }

std::shared_ptr<cv::Mat> IrData::convert_to_cv2_mat() { return convert_raw(*this, CV_8UC1, kIrTexts); }

}  // namespace norvik::sdk
