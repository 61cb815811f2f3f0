#pragma once

#include <string_view>

#include <norvik_sdk/types.hpp>

namespace norvik::sdk {

// Reads the battery report of the topic "bms". Members that are missing stay zero, and so does everything when the text
// is JSON but no object. Throws nlohmann::json::exception for text that is no JSON and for members that are no number.
BmsInfo parse_bms_info(std::string_view json_text);

}  // namespace norvik::sdk
