#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>
#include <kdl/frames.hpp>

#include "planning/scene/shape.hpp"

namespace norvik::simulator::planning {

// The points of the text of a PCD file; those that are no numbers are kept as such. Empty when the text is damaged.
std::optional<std::vector<KDL::Vector>> parse_pcd(const std::string& text);

// LZF, as PCD files have it. Empty unless the result has exactly `full_size` bytes.
std::optional<std::vector<char>> lzf_decompress(const char* data, size_t size, size_t full_size);

}  // namespace norvik::simulator::planning
