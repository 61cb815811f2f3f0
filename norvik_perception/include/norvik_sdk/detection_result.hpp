#pragma once

// Needs the headers of Eigen, OpenCV and PCL, which link target norvik_sdk::perception brings.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <vector>
#include <Eigen/Core>
#include <opencv2/core/mat.hpp>
#include <pcl/point_cloud.h>
#include <pcl/point_types.h>

namespace norvik::sdk {

using PerceptionCloud = pcl::PointCloud<pcl::PointXYZ>;

// Memory aligned for whatever vector instructions the compiler was allowed to use. Eigen's own allocator depends on
// that: what it allocated in code built with -mavx cannot be freed by code built without, and library and application
// need not be built alike.
template <typename T>
struct PoseAllocator {
  using value_type = T;
  static constexpr std::align_val_t kAlignment{64};

  PoseAllocator() = default;
  template <typename U>
  PoseAllocator(const PoseAllocator<U>& /*other*/) noexcept {}

  T* allocate(std::size_t count) {
    if (count > static_cast<std::size_t>(-1) / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(::operator new(count * sizeof(T), kAlignment));
  }
  void deallocate(T* memory, std::size_t /*count*/) noexcept { ::operator delete(memory, kAlignment); }

  friend bool operator==(const PoseAllocator& /*a*/, const PoseAllocator& /*b*/) { return true; }
  friend bool operator!=(const PoseAllocator& /*a*/, const PoseAllocator& /*b*/) { return false; }
};

namespace detail {

// An empty cloud with room for `points`. PCL allocates with Eigen's allocator, so this is compiled into the application
// (hidden: each library its own) and called by the library, which fills the room and never grows it.
__attribute__((visibility("hidden"))) inline PerceptionCloud::Ptr make_cloud(std::size_t points) {
  auto cloud = std::make_shared<PerceptionCloud>();
  cloud->points.reserve(points);
  return cloud;
}

}  // namespace detail

}  // namespace norvik::sdk

// One result of a perception module.
struct DetectionResult {
  int64_t timestamp_ns = -1;  // since the Unix epoch, when the pictures were taken; -1: the service told no header
  std::string frame_id;       // what clouds and poses are relative to
  std::vector<norvik::sdk::PerceptionCloud::Ptr> point_clouds;  // metres
  // Of the objects found, as homogeneous matrices; metres. One that came damaged is the identity.
  std::vector<Eigen::Matrix4f, norvik::sdk::PoseAllocator<Eigen::Matrix4f>> poses;
  cv::Mat instance_mask;  // pixels of object n, counted from 1, have the value n; empty: none. Colours are in BGR order

  // For the library: makes clouds with code that was built with this record's.
  norvik::sdk::PerceptionCloud::Ptr (*cloud_maker)(std::size_t points) = &norvik::sdk::detail::make_cloud;
};
