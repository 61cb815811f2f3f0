#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <opencv2/imgcodecs.hpp>

#include <norvik_sdk/types.hpp>

#include "data_buffer.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::sdk {
namespace {

TEST(StatusTexts, BeginWithTheEnumeratorOfTheirValue) {
  const char* const names[] = {"SUCCESS",           "TIMEOUT",           "FAULT",
                               "INVALID_INPUT",     "INIT_FAILED",       "IN_PROGRESS",
                               "STOPPED_UNREACHED", "DATA_FETCH_FAILED", "PUBLISH_FAIL",
                               "COMM_DISCONNECTED", "STATUS_NUM",        "UNSUPPORTED_FUNCRION"};
  ASSERT_EQ(status_string_map_.size(), std::size(names));
  for (int32_t value = 0; value < 12; ++value) {
    EXPECT_EQ(status_string_map_.at(static_cast<MotionStatus>(value)).rfind(std::string(names[value]) + ": ", 0), 0U);
  }
  EXPECT_EQ(status_string_map_.count(static_cast<MotionStatus>(12)), 0U);
  ASSERT_EQ(sensor_type_string_map_.size(), 25U);
}

// Reads the buffer while it is destroyed: a deadlock if the buffer released records under its lock.
struct Reentrant {
  DataBuffer<Reentrant>& buffer;
  explicit Reentrant(DataBuffer<Reentrant>& owner) : buffer(owner) {}
  ~Reentrant() { buffer.get_data(); }
};

TEST(DataBuffer, ReleasesAReplacedRecordOutsideItsLock) {
  DataBuffer<Reentrant> buffer;
  EXPECT_EQ(buffer.get_data(), nullptr);
  buffer.set_data(std::make_shared<Reentrant>(buffer));
  buffer.set_data(nullptr);
  EXPECT_EQ(buffer.get_data(), nullptr);
}

TEST(DataBuffer, ReadersSeeWholeRecordsInOrder) {
  struct Record {
    int first;
    int second;
  };
  DataBuffer<Record> buffer;
  std::atomic<bool> done{false};
  std::atomic<int> faults{0};
  std::vector<std::thread> readers;
  readers.reserve(3);
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      for (int last = 0; !done;) {
        const auto record = buffer.get_data();
        if (record == nullptr) continue;
        if (record->first != record->second || record->first < last) ++faults;
        last = record->first;
      }
    });
  }
  for (int i = 1; i <= 20000; ++i) buffer.set_data(std::make_shared<Record>(Record{i, i}));
  done = true;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(faults, 0);
  EXPECT_EQ(buffer.get_data()->first, 20000);
}

struct RawCase {
  std::size_t bytes;
  uint32_t height;
  uint32_t width;
  int rows;  // of the matrix, 0: none
  int columns;
  const char* text;  // of the error record
};

template <typename Image>
void expect_decoded(const RawCase& c, int type) {
  SCOPED_TRACE(std::to_string(c.bytes) + " bytes, " + std::to_string(c.height) + " x " + std::to_string(c.width));
  test::SdkLogCapture capture;
  Image image;
  image.height = c.height;
  image.width = c.width;
  image.data.assign(c.bytes, 7);
  const std::shared_ptr<cv::Mat> mat = image.convert_to_cv2_mat();
  if (c.text != nullptr) {
    EXPECT_EQ(mat, nullptr);
    EXPECT_TRUE(capture.has("error", c.text));
    EXPECT_EQ(capture.records().size(), 1U);
    return;
  }
  ASSERT_NE(mat, nullptr);
  EXPECT_EQ(mat->type(), type);
  EXPECT_EQ(mat->data, image.data.data());
  EXPECT_EQ(mat->size(), cv::Size(c.columns, c.rows));
  EXPECT_EQ(image.height, static_cast<uint32_t>(c.rows));
  EXPECT_EQ(image.width, static_cast<uint32_t>(c.columns));
  EXPECT_TRUE(capture.records().empty());
}

TEST(RawImages, AreWrappedWithTheirSizeOrAnInferredOne) {
  const char* const ir_unknown = "IrData Error: height and width are zero and cannot be inferred from data size.";
  const char* const depth_unknown = "DepthData Error: height and width are zero and cannot be inferred from data size.";
  const RawCase ir_cases[] = {
      {0, 2, 3, 0, 0, "IrData Error: data is empty."},
      {6, 2, 3, 2, 3, nullptr},
      {5, 2, 3, 0, 0, "IrData Error: cv::Mat construction failed."},
      {921600, 0, 0, 720, 1280, nullptr},
      {407040, 0, 0, 480, 848, nullptr},
      {307200, 0, 640, 480, 640, nullptr},
      {307200, 100, 0, 480, 640, nullptr},
      {76800, 0, 0, 240, 320, nullptr},
      {76801, 0, 0, 0, 0, ir_unknown},
  };
  const RawCase depth_cases[] = {
      {0, 0, 0, 0, 0, "DepthData Error: data is empty."},
      {614400, 0, 0, 480, 640, nullptr},
      {921600, 0, 0, 0, 0, depth_unknown},
      {12, 2, 3, 2, 3, nullptr},
      {11, 2, 3, 0, 0, "DepthData Error: cv::imdecode failed."},
  };
  for (const RawCase& c : ir_cases) expect_decoded<IrData>(c, CV_8UC1);
  for (const RawCase& c : depth_cases) expect_decoded<DepthData>(c, CV_16UC1);
}

TEST(RgbData, DecodesInColourAndReportsWhatIsNoImage) {
  RgbData image;
  cv::imencode(".png", cv::Mat(4, 6, CV_8UC1, cv::Scalar(9)), image.data);
  const auto mat = image.convert_to_cv2_mat();
  ASSERT_NE(mat, nullptr);
  EXPECT_EQ(mat->type(), CV_8UC3);
  EXPECT_EQ(mat->size(), cv::Size(6, 4));

  test::SdkLogCapture capture;
  image.data.assign(100, 1);
  EXPECT_EQ(image.convert_to_cv2_mat(), nullptr);
  EXPECT_TRUE(capture.has("error", "RgbData Error: cv::imdecode failed."));
  image.data.clear();
  EXPECT_EQ(image.convert_to_cv2_mat(), nullptr);
  EXPECT_TRUE(capture.has("error", "RgbData Error: data is empty."));
}

}  // namespace
}  // namespace norvik::sdk
