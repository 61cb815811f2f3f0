#include "world/refusal.hpp"

namespace norvik::simulator {

std::string printable_name(const std::string& name, size_t longest) {
  std::string result = name.substr(0, longest);
  for (char& c : result) {
    if (static_cast<unsigned char>(c) < ' ' || static_cast<unsigned char>(c) > '~') {
      c = '?';
    }
  }
  return name.size() > longest ? result + "..." : result;
}

}  // namespace norvik::simulator
