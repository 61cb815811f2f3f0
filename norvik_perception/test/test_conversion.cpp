// Messages of the perception service as public records, and the renaming of axes.

#include <google/protobuf/text_format.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include <norvik_sdk/perception_utils.hpp>

#include "impl/results/detection_conversion.hpp"
#include "support/sdk_log_capture.hpp"

namespace norvik::test {
namespace {

using Message = perception_proto::DetectionResult;

core_proto::Matrix matrix_of(uint32_t rows, uint32_t cols, int elements) {
  core_proto::Matrix matrix;
  matrix.set_rows(rows);
  matrix.set_cols(cols);
  for (int i = 0; i < elements; ++i) {
    matrix.add_elements(i + 0.1);
  }
  return matrix;
}

TEST(Matrices, AreTakenWholeOrAreTheIdentity) {
  const Eigen::Matrix4f taken = PerceptionUtils::convert_proto_to_eigen(matrix_of(4, 4, 16));
  EXPECT_EQ(taken(0, 3), 3.1F);  // Row by row, narrowed.
  EXPECT_EQ(taken(3, 0), static_cast<float>(12.1));
  const struct {
    uint32_t rows, cols;
    int elements;
    const char* record;
  } damaged[] = {{3, 4, 12, "Invalid matrix dimensions (expected 4x4, got 3x4)"},
                 {4, 5, 20, "Invalid matrix dimensions (expected 4x4, got 4x5)"},
                 {0, 0, 0, "Invalid matrix dimensions (expected 4x4, got 0x0)"},
                 {4, 4, 15, "Invalid matrix elements (expected 16, got 15)"}};
  for (const auto& [rows, cols, elements, record] : damaged) {
    SdkLogCapture log;
    const auto matrix = PerceptionUtils::convert_proto_to_eigen(matrix_of(rows, cols, elements));
    EXPECT_EQ(matrix, Eigen::Matrix4f(Eigen::Matrix4f::Identity()));
    EXPECT_TRUE(log.has("error", record)) << record;
  }
}

struct ImageCase {
  uint32_t height, width;
  const char* encoding;
  uint32_t step;
  size_t bytes;
  int type;  // -1: refused
  const char* record;
};

class Images : public ::testing::TestWithParam<ImageCase> {};

TEST_P(Images, AreTakenWholeOrRefused) {
  const ImageCase& image = GetParam();
  sensor_proto::Image message;
  message.set_height(image.height);
  message.set_width(image.width);
  message.set_encoding(image.encoding);
  message.set_step(image.step);
  for (size_t i = 0; i < image.bytes; ++i) {
    message.mutable_data()->push_back(static_cast<char>(i));
  }
  SdkLogCapture log;
  const cv::Mat mat = PerceptionUtils::parse_proto_image(message);
  if (image.type < 0) {
    EXPECT_TRUE(mat.empty());
    EXPECT_TRUE(log.has_containing(image.record[0] == 'e' ? "warning" : "error",
                                   std::string("parse_proto_image: ") + image.record));
    return;
  }
  ASSERT_EQ(mat.type(), image.type);
  ASSERT_EQ(mat.rows, static_cast<int>(image.height));
  ASSERT_EQ(mat.cols, static_cast<int>(image.width));
  EXPECT_TRUE(log.records().empty());
  const size_t step = image.step != 0 ? image.step : image.width * mat.elemSize();
  const bool swapped = std::string(image.encoding) == "rgb8";
  for (int row = 0; row < mat.rows; ++row) {
    for (size_t i = 0; i < image.width * mat.elemSize(); ++i) {
      const size_t source = swapped ? i / 3 * 3 + 2 - i % 3 : i;
      ASSERT_EQ(mat.ptr(row)[i], static_cast<uint8_t>(row * step + source));
    }
  }
}

constexpr uint32_t kMost = std::numeric_limits<uint32_t>::max();

INSTANTIATE_TEST_SUITE_P(
    All, Images,
    ::testing::Values(ImageCase{3, 5, "mono8", 0, 15, CV_8UC1, ""}, ImageCase{3, 5, "8UC1", 8, 21, CV_8UC1, ""},
                      ImageCase{2, 3, "rgb8", 0, 18, CV_8UC3, ""}, ImageCase{2, 3, "rgb8", 11, 22, CV_8UC3, ""},
                      ImageCase{2, 3, "bgr8", 10, 20, CV_8UC3, ""}, ImageCase{2, 3, "8UC3", 9, 99, CV_8UC3, ""},
                      ImageCase{2, 3, "16UC1", 0, 12, CV_16UC1, ""}, ImageCase{2, 3, "32FC1", 16, 28, CV_32FC1, ""},
                      ImageCase{2, 2, "bgra8", 0, 16, CV_8UC4, ""}, ImageCase{2, 2, "8UC4", 12, 24, CV_8UC4, ""},
                      ImageCase{1, 4, "mono8", kMost, 4, CV_8UC1, ""},
                      ImageCase{0, 5, "mono8", 0, 9, -1, "empty image (h=0 w=5 data_size=9)"},
                      ImageCase{3, 0, "nonsense", 0, 9, -1, "empty image (h=3 w=0 data_size=9)"},
                      ImageCase{3, 5, "mono8", 0, 0, -1, "empty image (h=3 w=5 data_size=0)"},
                      ImageCase{3, 5, "mono16", 0, 30, -1, "unsupported encoding 'mono16'"},
                      ImageCase{3, 5, "", 0, 30, -1, "unsupported encoding ''"},
                      ImageCase{3, 5, "mono8", 4, 99, -1, "size does not fit"},
                      ImageCase{3, 5, "mono8", 0, 14, -1, "size does not fit"},
                      ImageCase{3, 5, "mono8", 8, 20, -1, "size does not fit"},
                      ImageCase{2, 3, "16UC1", 7, 99, -1, "size does not fit"},
                      ImageCase{kMost, kMost, "8UC4", 0, 99, -1, "size does not fit"},
                      ImageCase{kMost, 1, "mono8", kMost, 99, -1, "size does not fit"}));

std::shared_ptr<const Message> message_of(const char* text) {
  auto message = std::make_shared<Message>();
  EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(text, message.get())) << text;
  return message;
}

TEST(Records, HoldOneMessageAndNothingOfTheOneBefore) {
  DetectionResult record;
  ASSERT_TRUE(PerceptionUtils::msg_to_struct(message_of(R"(header { timestamp { sec: 3 nanosec: 7 } frame_id: "eye" }
                    point_clouds { points { x: 1 y: 2 z: 3 } points { z: -1 } } point_clouds {}
                    poses { rows: 3 cols: 4 } poses {} image { height: 1 width: 2 encoding: "mono8" data: "ab" })"),
                                             record));
  EXPECT_EQ(record.timestamp_ns, 3'000'000'007);
  EXPECT_EQ(record.frame_id, "eye");
  EXPECT_EQ(record.poses.size(), 2U);
  ASSERT_EQ(record.point_clouds.size(), 2U);
  const auto& cloud = *record.point_clouds[0];
  EXPECT_EQ(cloud.width, 2U);
  EXPECT_EQ(cloud.height, 1U);
  EXPECT_TRUE(cloud.is_dense);
  EXPECT_EQ(cloud[0].getVector4fMap(), Eigen::Vector4f(1, 2, 3, 1));
  const auto kept = record.point_clouds[0];

  SdkLogCapture log;
  EXPECT_TRUE(PerceptionUtils::msg_to_struct(message_of("poses { rows: 4 cols: 4 }"), record));
  EXPECT_EQ(record.timestamp_ns, -1);
  EXPECT_EQ(record.frame_id, "");
  EXPECT_TRUE(record.point_clouds.empty());
  EXPECT_TRUE(record.instance_mask.empty());
  EXPECT_TRUE(log.has("warning", "No header in perception result message"));
  EXPECT_TRUE(log.has("info", "Received: 1 poses 0 pcs."));
  EXPECT_EQ(kept->size(), 2U);

  EXPECT_FALSE(PerceptionUtils::msg_to_struct(message_of("header { timestamp { sec: 9223372036854775807 } }"), record));
  EXPECT_EQ(record.timestamp_ns, std::numeric_limits<int64_t>::max());
  EXPECT_TRUE(log.has("info", "No pointcloud data received from perception service."));
  EXPECT_TRUE(log.has("info", "No pose data received from perception service."));
  EXPECT_TRUE(PerceptionUtils::msg_to_struct(message_of(R"(image { height: 1 width: 2 encoding: "mono8" data: "ab" })"),
                                             record));
  EXPECT_TRUE(log.has("info", "Received: 0 poses 0 pcs. instance_mask=1x2"));
}

TEST(Axes, AreTheNearestOnesAndTheFirstOfEquals) {
  const auto corrected = [](const Eigen::Matrix3f& rotation) {
    Eigen::Matrix4f pose = Eigen::Matrix4f::Identity();
    pose.topLeftCorner<3, 3>() = rotation;
    pose.topRightCorner<3, 1>() << 1, 2, 3;
    pose.row(3) << 9, 9, 9, 9;
    const Eigen::Matrix4f result = PerceptionUtils::correct_quaternion_to_x_forward(pose);
    EXPECT_EQ(result.col(3), Eigen::Vector4f(1, 2, 3, 1));
    EXPECT_EQ(result.row(3), Eigen::RowVector4f(0, 0, 0, 1));
    return Eigen::Matrix3f(result.topLeftCorner<3, 3>());
  };
  Eigen::Matrix3f expected;
  SdkLogCapture log;
  expected << 0, 0, 1, 0, 1, 0, -1, 0, 0;
  EXPECT_EQ(corrected(Eigen::Matrix3f::Identity()), expected);
  EXPECT_TRUE(log.has("debug", "choice best x: z_axis_inv"));
  EXPECT_TRUE(log.has_containing("debug", "correct_quaternion_to_x_forward z-axis dots: x_axis"));
  EXPECT_EQ(corrected(Eigen::Matrix3f::Identity() * 5), expected);  // Made unit vectors.
  EXPECT_EQ(corrected(Eigen::Matrix3f::Zero()), Eigen::Matrix3f(Eigen::Matrix3f::Zero()));

  // x and y are equally near to (0, 1, 0), and so to (1, 0, 0): x is first.
  Eigen::Matrix3f tie;
  tie << 1, 1, 0, 1, 1, 0, 0, 0, 1;
  const float half = static_cast<float>(std::sqrt(0.5));
  expected << 0, half, half, 0, half, half, -1, 0, 0;
  EXPECT_EQ(corrected(tie), expected);
}

}  // namespace
}  // namespace norvik::test
