#include <norvik_sdk/navigation_types.hpp>

#include <array>
#include <ostream>

namespace norvik::sdk {

std::string to_string(NaviStatus value) {
  static constexpr std::array<const char*, 7> kNames = {
      "SUCCESS", "FAILED", "TIMEOUT", "INVALID_INPUT", nullptr, "REQUEST_FAILED", "SERVICE_NOT_READY"};
  const auto index = static_cast<uint32_t>(value);
  return index < kNames.size() && kNames[index] != nullptr ? kNames[index]
                                                           : std::to_string(static_cast<int32_t>(value));
}

std::ostream& operator<<(std::ostream& out, NaviStatus value) { return out << to_string(value); }

}  // namespace norvik::sdk
