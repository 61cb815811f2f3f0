#pragma once

#include <cstdint>
#include <vector>

namespace norvik::tools {

using Bytes = std::vector<uint8_t>;

}  // namespace norvik::tools
