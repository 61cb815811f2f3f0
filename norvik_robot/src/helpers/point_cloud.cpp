#include <norvik_sdk/robot_helpers.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <optional>

namespace norvik::sdk {
namespace {

constexpr int32_t kFloat32 = 7;
constexpr int32_t kFloat64 = 8;

// Where one coordinate stands in each point.
struct Coordinate {
  size_t offset;
  size_t size;  // 4 or 8 bytes of floating point
};

std::optional<Coordinate> find_coordinate(const LidarData& cloud, const char* name) {
  for (const PointField& field : cloud.fields) {
    if (field.name != name || (field.datatype != kFloat32 && field.datatype != kFloat64)) {
      continue;
    }
    const size_t size = field.datatype == kFloat32 ? sizeof(float) : sizeof(double);
    if (size_t{field.offset} + size <= cloud.point_step) {
      return Coordinate{field.offset, size};
    }
  }
  return std::nullopt;
}

template <typename Number>
float number_from(const std::array<uint8_t, sizeof(double)>& bytes) {
  Number number{};
  std::memcpy(&number, bytes.data(), sizeof(number));
  return static_cast<float>(number);
}

float read_coordinate(const uint8_t* point, const Coordinate& coordinate, bool is_bigendian) {
  std::array<uint8_t, sizeof(double)> bytes{};
  std::copy_n(point + coordinate.offset, coordinate.size, bytes.begin());
  if (is_bigendian) {
    std::reverse(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(coordinate.size));
  }
  return coordinate.size == sizeof(float) ? number_from<float>(bytes) : number_from<double>(bytes);
}

bool is_finite(const PointXyz& point) {
  return std::isfinite(point.x) && std::isfinite(point.y) && std::isfinite(point.z);
}

// Bytes from one row to the next; 0 when a row has no room for its points. One row needs no such number.
size_t row_stride(const LidarData& cloud) {
  const size_t needed = size_t{cloud.width} * cloud.point_step;
  if (cloud.row_step >= needed) {
    return cloud.row_step;
  }
  return cloud.height == 1 ? needed : 0;
}

}  // namespace

std::vector<PointXyz> to_xyz(const LidarData& cloud) {
  const auto x = find_coordinate(cloud, "x");
  const auto y = find_coordinate(cloud, "y");
  const auto z = find_coordinate(cloud, "z");
  const size_t stride = row_stride(cloud);
  std::vector<PointXyz> points;
  if (!x || !y || !z || stride == 0) {
    return points;
  }
  points.reserve(std::min(size_t{cloud.width} * cloud.height, cloud.data.size() / cloud.point_step));
  for (size_t row = 0; row < cloud.height && row * stride < cloud.data.size(); ++row) {
    const size_t row_size = std::min(size_t{cloud.width} * cloud.point_step, cloud.data.size() - row * stride);
    for (size_t at = 0; at + cloud.point_step <= row_size; at += cloud.point_step) {
      const uint8_t* const bytes = cloud.data.data() + row * stride + at;
      const PointXyz point = {read_coordinate(bytes, *x, cloud.is_bigendian),
                              read_coordinate(bytes, *y, cloud.is_bigendian),
                              read_coordinate(bytes, *z, cloud.is_bigendian)};
      if (is_finite(point)) {
        points.push_back(point);
      }
    }
  }
  return points;
}

}  // namespace norvik::sdk
