#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <Eigen/Geometry>

#include "norvik/spatial_proto/transform.pb.h"
#include "ovimux/ovimux.hpp"
#include "ovimux/tf2_ovimux/buffer.hpp"

namespace norvik::ovimux::tf2_ovimux {

inline constexpr int64_t kSecond = 1000000000;

inline spatial_proto::TransformMsg make_transform(const std::string& parent, const std::string& child, int64_t stamp_ns,
                                                  const Eigen::Vector3d& t = {1, 0, 0},
                                                  const Eigen::Quaterniond& q = Eigen::Quaterniond::Identity()) {
  spatial_proto::TransformMsg message;
  message.mutable_header()->set_frame_id(parent);
  message.mutable_header()->mutable_timestamp()->set_sec(stamp_ns / kSecond);
  message.mutable_header()->mutable_timestamp()->set_nanosec(static_cast<uint32_t>(stamp_ns % kSecond));
  message.set_child_frame_id(child);
  core_proto::Vector3& translation = *message.mutable_transform()->mutable_translation();
  translation.set_x(t.x());
  translation.set_y(t.y());
  translation.set_z(t.z());
  core_proto::Quaternion& rotation = *message.mutable_transform()->mutable_rotation();
  rotation.set_x(q.x());
  rotation.set_y(q.y());
  rotation.set_z(q.z());
  rotation.set_w(q.w());
  return message;
}

inline basic_interface::Time at(int64_t stamp_ns) {
  return basic_interface::Time(stamp_ns, basic_interface::RCL_SYSTEM_TIME);
}

inline basic_interface::Duration milliseconds(int64_t count) { return basic_interface::Duration(count * 1000000); }

inline std::shared_ptr<Buffer> make_buffer(int64_t cache_ns = 10 * kSecond) {
  OvimuxInitInternal();  // Nothing waits unless the middleware runs.
  auto buffer = std::make_shared<Buffer>(std::make_shared<basic_interface::Clock>(basic_interface::RCL_SYSTEM_TIME),
                                         basic_interface::Duration(cache_ns));
  buffer->setUsingDedicatedThread(true);
  return buffer;
}

inline double seconds_since(std::chrono::steady_clock::time_point begin) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

}  // namespace norvik::ovimux::tf2_ovimux
