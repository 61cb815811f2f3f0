#include "world/refusal.hpp"

namespace norvik::simulator {

std::string printable_name(const std::string& name) {
  constexpr size_t kMaxLength = 64;
  std::string result = name.substr(0, kMaxLength);
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~') {
      c = '?';
    }
  }
  return name.size() > kMaxLength ? result + "..." : result;
}

}  // namespace norvik::simulator
