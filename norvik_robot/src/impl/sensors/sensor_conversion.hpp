#pragma once

#include <cstdint>
#include <memory>
#include <utility>

#include <norvik_sdk/types.hpp>

#include "norvik/sensor_proto/camera.pb.h"
#include "norvik/sensor_proto/image.pb.h"
#include "norvik/sensor_proto/imu.pb.h"
#include "norvik/sensor_proto/point_cloud.pb.h"
#include "ovimux/dds/bulk_message.hpp"

// Wire messages into public records. Pixels stay encoded as they came. A message without a time has time 0.
//
// False for an empty message, with `out` untouched. An empty `out` is filled with a new record first.
namespace norvik::sdk {

bool compressed_image_to_rgb_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                  std::shared_ptr<RgbData>& out);

// `height` and `width` are those of the camera's newest parameters, 0 when there are none yet.
bool compressed_image_to_ir_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                 std::shared_ptr<IrData>& out, uint32_t height, uint32_t width);
bool compressed_image_to_depth_data(const std::shared_ptr<sensor_proto::CompressedImage>& message,
                                    std::shared_ptr<DepthData>& out, uint32_t height, uint32_t width);

// Matrices of a wrong length become the identity.
bool camera_info_proto_to_camera_info(const std::shared_ptr<sensor_proto::CameraInfo>& message,
                                      std::shared_ptr<CameraInfo>& out);

bool point_cloud2_proto_to_point_cloud2(const std::shared_ptr<sensor_proto::PointCloud2>& message,
                                        std::shared_ptr<LidarData>& out);

// Acceleration comes in units of g and goes out in m/s^2. What the message lacks stays as it was in the record. False
// also for an empty `out`.
bool imu_proto_to_imu_data(const std::shared_ptr<sensor_proto::ImuSensor>& message, std::shared_ptr<ImuData>& out);

// Messages as they come from the wire, with their large part apart.
using ImageSample = ovimux::BulkMessage<sensor_proto::CompressedImage, sensor_proto::CompressedImage::kDataFieldNumber>;
using CloudSample = ovimux::BulkMessage<sensor_proto::PointCloud2, sensor_proto::PointCloud2::kDataFieldNumber>;

// A record whose data goes to `recycler` when the last user lets go of the record.
template <typename Record>
std::shared_ptr<Record> make_recycled(const std::shared_ptr<ovimux::BufferRecycler>& recycler) {
  return std::shared_ptr<Record>(new Record, [recycler](Record* record) {
    recycler->give(std::move(record->data));
    delete record;
  });
}

// Makes a record with `convert`, one of these functions. The record takes the large part of `sample`, without a copy.
template <typename Sample, typename Record, typename Convert, typename... Arguments>
bool convert_sample(const std::shared_ptr<Sample>& sample, std::shared_ptr<Record>& out, Convert convert,
                    Arguments... arguments) {
  if (!sample) {
    return false;
  }
  if (sample->recycler) {
    out = make_recycled<Record>(sample->recycler);
  }
  if (!convert(std::shared_ptr<decltype(sample->message)>(sample, &sample->message), out, arguments...)) {
    return false;
  }
  if (!sample->bulk.empty()) {
    out->data = std::move(sample->bulk);
  }
  return true;
}

}  // namespace norvik::sdk
