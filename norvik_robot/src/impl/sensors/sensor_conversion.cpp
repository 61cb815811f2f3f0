#include "impl/sensors/sensor_conversion.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "impl/common/proto_time.hpp"

namespace norvik::sdk {
namespace {

constexpr double kStandardGravity = 9.80665;  // m/s^2
constexpr std::array<double, 9> kIdentity3x3 = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr std::array<double, 12> kIdentity3x4 = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};

template <typename Record>
void ensure(std::shared_ptr<Record>& out) {
  if (!out) {
    out = std::make_shared<Record>();
  }
}

template <typename Record, typename Message>
void copy_header(const Message& message, Record& record) {
  record.timestamp_ns = header_time_ns_integer(message.header());
  record.frame_id = message.header().frame_id();
}

// As bytes from the start: a copy from characters to bytes goes one by one.
void copy_bytes(const std::string& from, std::vector<uint8_t>& to) {
  const auto* const first = reinterpret_cast<const uint8_t*>(from.data());
  to.assign(first, first + from.size());
}

template <typename Record>
void copy_image(const sensor_proto::CompressedImage& message, Record& record) {
  copy_header(message, record);
  record.format = message.format();
  copy_bytes(message.data(), record.data);
}

template <size_t N, typename Values>
std::array<double, N> matrix_or(const Values& values, const std::array<double, N>& identity) {
  std::array<double, N> matrix = identity;
  if (static_cast<size_t>(values.size()) == N) {
    std::copy(values.begin(), values.end(), matrix.begin());
  }
  return matrix;
}

RegionOfInterest region_from(const sensor_proto::RegionOfInterest& message) {
  RegionOfInterest region;
  region.x_offset = message.x_offset();
  region.y_offset = message.y_offset();
  region.height = message.height();
  region.width = message.width();
  region.do_rectify = message.do_rectify();
  return region;
}

PointField field_from(const sensor_proto::PointField& message) {
  PointField field;
  field.name = message.name();
  field.offset = message.offset();
  field.datatype = message.datatype();
  field.count = message.count();
  return field;
}

}  // namespace

bool compressed_image_to_rgb_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                  std::shared_ptr<RgbData>& out) {
  if (!message) {
    return false;
  }
  ensure(out);
  copy_image(*message, *out);
  return true;
}

bool compressed_image_to_ir_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                 std::shared_ptr<IrData>& out, uint32_t height, uint32_t width) {
  if (!message) {
    return false;
  }
  ensure(out);
  copy_image(*message, *out);
  out->height = height;
  out->width = width;
  return true;
}

bool compressed_image_to_depth_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                    std::shared_ptr<DepthData>& out, uint32_t height, uint32_t width) {
  if (!message) {
    return false;
  }
  ensure(out);
  copy_image(*message, *out);
  out->height = height;
  out->width = width;
  out->depth_scale = message->depth_scale();
  return true;
}

bool camera_info_proto_to_camera_info(const std::shared_ptr<sensor_proto::CameraInfo>& message,
                                      std::shared_ptr<CameraInfo>& out) {
  if (!message) {
    return false;
  }
  ensure(out);
  copy_header(*message, *out);
  out->height = message->height();
  out->width = message->width();
  out->distortion_model = message->distortion_model();
  out->d.assign(message->d().begin(), message->d().end());
  out->k = matrix_or(message->k(), kIdentity3x3);
  out->r = matrix_or(message->r(), kIdentity3x3);
  out->p = matrix_or(message->p(), kIdentity3x4);
  out->binning_x = message->binning_x();
  out->binning_y = message->binning_y();
  out->roi = region_from(message->roi());
  out->camera_type = message->camera_type();
  out->T.assign(message->t().begin(), message->t().end());
  return true;
}

bool point_cloud2_proto_to_point_cloud2(const std::shared_ptr<sensor_proto::PointCloud2>& message,
                                        std::shared_ptr<LidarData>& out) {
  if (!message) {
    return false;
  }
  ensure(out);
  copy_header(*message, *out);
  out->height = message->height();
  out->width = message->width();
  out->fields.clear();
  out->fields.reserve(static_cast<size_t>(message->fields_size()));
  for (const auto& field : message->fields()) {
    out->fields.push_back(field_from(field));
  }
  out->is_bigendian = message->is_bigendian();
  out->point_step = message->point_step();
  out->row_step = message->row_step();
  copy_bytes(message->data(), out->data);
  out->is_dense = message->is_dense();
  return true;
}

bool imu_proto_to_imu_data(const std::shared_ptr<sensor_proto::ImuSensor>& message, std::shared_ptr<ImuData>& out) {
  if (!message || !out) {
    return false;
  }
  if (message->has_header() && message->header().has_timestamp()) {
    out->timestamp_ns = header_time_ns_integer(message->header());
  }
  if (message->has_accel()) {
    out->accel_x = message->accel().x() * kStandardGravity;
    out->accel_y = message->accel().y() * kStandardGravity;
    out->accel_z = message->accel().z() * kStandardGravity;
  }
  if (message->has_gyro()) {
    out->gyro_x = message->gyro().x();
    out->gyro_y = message->gyro().y();
    out->gyro_z = message->gyro().z();
  }
  if (message->has_magnet()) {
    out->magnet_x = message->magnet().x();
    out->magnet_y = message->magnet().y();
    out->magnet_z = message->magnet().z();
  }
  return true;
}

}  // namespace norvik::sdk
