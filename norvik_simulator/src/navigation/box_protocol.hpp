#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace norvik::simulator {

// A box as the binary channels carry it.
struct WireBox {
  std::vector<float> size;      // Full sides, metres.
  std::array<float, 7> pose{};  // x, y, z, then the quaternion, its scalar first.
  std::string name;
  std::string parent_link;
};

using Bytes = std::vector<uint8_t>;

// Numbers are of 32 bits, little-endian; texts and arrays begin with their length. Empty when the bytes are not exactly
// such a request, whatever they claim.
std::optional<std::vector<WireBox>> read_boxes(const Bytes& request);
std::optional<std::vector<std::string>> read_names(const Bytes& request);

std::string write_boxes(const std::vector<WireBox>& boxes);

}  // namespace norvik::simulator
