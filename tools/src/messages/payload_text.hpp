#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include <nlohmann/json_fwd.hpp>

#include "dds/bytes.hpp"

namespace norvik::tools {

// True for well-formed UTF-8 that is safe on a terminal: no control characters but tab and line ends.
bool is_plain_text(const Bytes& bytes);

// The value, unless the bytes are no JSON or are nested so deeply that working with them could exhaust the stack.
std::optional<nlohmann::ordered_json> parse_json(const Bytes& bytes);

// "0a 1b …", with the number of bytes that are left out after the first `limit`.
std::string hex_text(const Bytes& bytes, size_t limit);

// Cuts every string in `value` that is longer than `limit` characters and says how long it was; for people, since a
// picture is a string of a million characters.
void shorten_strings(nlohmann::ordered_json& value, size_t limit);

}  // namespace norvik::tools
