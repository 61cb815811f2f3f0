#include "impl/results/detection_conversion.hpp"

#include <exception>
#include <limits>
#include <utility>

#include "sdk_log.hpp"

namespace PerceptionUtils {

namespace {

using norvik::perception_proto::DetectionResult;
using Record = ::DetectionResult;

constexpr int kSide = 4;
constexpr int64_t kNanosecondsPerSecond = 1'000'000'000;

// A time beyond the range of 64 bits is its end.
int64_t time_ns(const norvik::core_proto::Timestamp& time) {
  int64_t nanoseconds = 0;
  if (__builtin_mul_overflow(time.sec(), kNanosecondsPerSecond, &nanoseconds) ||
      __builtin_add_overflow(nanoseconds, time.nanosec(), &nanoseconds)) {
    return time.sec() < 0 ? std::numeric_limits<int64_t>::min() : std::numeric_limits<int64_t>::max();
  }
  return nanoseconds;
}

void read_header(const DetectionResult& message, Record& record) {
  if (!message.has_header()) {
    SDK_LOG(warning) << "No header in perception result message";
    return;
  }
  record.timestamp_ns = time_ns(message.header().timestamp());
  record.frame_id = message.header().frame_id();
}

void read_clouds(const DetectionResult& message, Record& record) {
  for (const auto& cloud : message.point_clouds()) {
    record.point_clouds.push_back(parse_single_point_cloud(cloud, record.cloud_maker));
  }
  if (record.point_clouds.empty()) {
    SDK_LOG(info) << "No pointcloud data received from perception service.";
  }
}

void read_poses(const DetectionResult& message, Record& record) {
  for (const auto& pose : message.poses()) {
    record.poses.push_back(convert_proto_to_eigen(pose));
  }
  if (record.poses.empty()) {
    SDK_LOG(info) << "No pose data received from perception service.";
  }
}

void log_content(const Record& record) {
  const cv::Mat& mask = record.instance_mask;
  const auto size =
      mask.empty() ? std::string() : " instance_mask=" + std::to_string(mask.rows) + "x" + std::to_string(mask.cols);
  SDK_LOG(info) << "Received: " << record.poses.size() << " poses " << record.point_clouds.size() << " pcs." << size;
}

Record read_message(const DetectionResult& message, decltype(Record::cloud_maker) maker) {
  Record record;
  record.cloud_maker = maker;
  read_header(message, record);
  read_clouds(message, record);
  read_poses(message, record);
  if (message.has_image()) {
    record.instance_mask = parse_proto_image(message.image());
  }
  return record;
}

}  // namespace

Eigen::Matrix4f convert_proto_to_eigen(const norvik::core_proto::Matrix& matrix) {
  if (matrix.rows() != kSide || matrix.cols() != kSide) {
    SDK_LOG(error) << "Invalid matrix dimensions (expected 4x4, got " << matrix.rows() << "x" << matrix.cols() << ")";
    return Eigen::Matrix4f::Identity();
  }
  if (matrix.elements_size() < kSide * kSide) {
    SDK_LOG(error) << "Invalid matrix elements (expected 16, got " << matrix.elements_size() << ")";
    return Eigen::Matrix4f::Identity();
  }
  using RowMajor = Eigen::Matrix<double, kSide, kSide, Eigen::RowMajor>;
  return Eigen::Map<const RowMajor>(matrix.elements().data()).cast<float>();
}

norvik::sdk::PerceptionCloud::Ptr parse_single_point_cloud(const norvik::sensor_proto::PointCloud& cloud,
                                                           decltype(Record::cloud_maker) maker) {
  auto result = maker(static_cast<std::size_t>(cloud.points_size()));
  for (const auto& point : cloud.points()) {
    result->points.emplace_back(point.x(), point.y(), point.z());  // The fourth element is 1.
  }
  result->width = static_cast<uint32_t>(result->points.size());
  result->height = 1;
  result->is_dense = true;
  return result;
}

bool msg_to_struct(const std::shared_ptr<const DetectionResult>& message, Record& out) {
  try {
    out = read_message(*message, out.cloud_maker);
  } catch (const std::exception& error) {
    SDK_LOG(error) << "msg_to_struct: " << error.what();
    return false;
  }
  log_content(out);
  return !out.poses.empty() || !out.point_clouds.empty() || !out.instance_mask.empty();
}

}  // namespace PerceptionUtils
