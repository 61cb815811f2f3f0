#pragma once

#include <string>
#include <unordered_map>
#include <vector>

namespace norvik::sdk {

// The keys in the map's own order.
template <typename Value>
std::vector<std::string> keys_of(const std::unordered_map<std::string, Value>& map) {
  std::vector<std::string> keys;
  keys.reserve(map.size());
  for (const auto& entry : map) {
    keys.push_back(entry.first);
  }
  return keys;
}

}  // namespace norvik::sdk
