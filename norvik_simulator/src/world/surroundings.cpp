#include "world/surroundings.hpp"

#include <cmath>

namespace norvik::simulator {

namespace {

using Colour = std::array<uint8_t, 3>;

constexpr Colour kTiles = {120, 125, 130};
constexpr Colour kWood = {95, 150, 190};
constexpr Colour kWall = {205, 215, 215};

constexpr double kSlide = 0.4;         // m to either side
constexpr double kSlidePeriod = 12.0;  // s

}  // namespace

const std::vector<SceneBox>& surroundings() {
  static const std::vector<SceneBox> kBoxes = {
      {{0.0, 0.0, -0.05}, {12.0, 12.0, 0.1}, kTiles},
      {{5.0, 0.0, 1.25}, {0.1, 10.0, 2.5}, kWall},
      {{-5.0, 0.0, 1.25}, {0.1, 10.0, 2.5}, kWall},
      {{0.0, 5.0, 1.25}, {10.0, 0.1, 2.5}, {215, 205, 190}},
      {{0.0, -5.0, 1.25}, {10.0, 0.1, 2.5}, {190, 205, 215}},
      {{2.2, 0.0, 0.73}, {0.8, 1.6, 0.04}, kWood},
      {{1.9, 0.7, 0.355}, {0.06, 0.06, 0.71}, kWood},
      {{1.9, -0.7, 0.355}, {0.06, 0.06, 0.71}, kWood},
      {{2.5, 0.7, 0.355}, {0.06, 0.06, 0.71}, kWood},
      {{2.5, -0.7, 0.355}, {0.06, 0.06, 0.71}, kWood},
      {{2.1, 0.5, 0.85}, {0.14, 0.14, 0.2}, {50, 50, 205}},
      {{2.2, -0.45, 0.825}, {0.2, 0.12, 0.15}, {70, 170, 60}},
      {{2.4, 0.1, 0.9}, {0.12, 0.22, 0.3}, {200, 110, 50}},
      {{-1.5, 2.6, 0.9}, {0.5, 1.2, 1.8}, {70, 90, 130}},
      {{1.0, -2.4, 0.3}, {0.6, 0.6, 0.6}, {160, 80, 150}},
      {{-2.2, -1.2, 0.5}, {0.8, 0.5, 1.0}, {90, 160, 170}},
      {{1.95, 0.0, 0.81}, {0.12, 0.12, 0.12}, {40, 200, 230}},
  };
  return kBoxes;
}

KDL::Vector sliding_box_centre(double time) {
  const KDL::Vector& middle = surroundings().back().centre;
  return {middle.x(), middle.y() + kSlide * std::sin(2.0 * M_PI * time / kSlidePeriod), middle.z()};
}

}  // namespace norvik::simulator
