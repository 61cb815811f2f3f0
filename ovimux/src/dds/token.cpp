#include "dds/token.hpp"

#include <limits>
#include <random>

namespace norvik::ovimux {

int draw_token() {
  std::random_device device;
  return std::uniform_int_distribution<int>(0, std::numeric_limits<int>::max())(device);
}

}  // namespace norvik::ovimux
