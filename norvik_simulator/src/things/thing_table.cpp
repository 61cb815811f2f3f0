#include <cmath>
#include <random>

#include "things/thing.hpp"

namespace norvik::simulator {

namespace {

constexpr double kTableTop = 0.75;  // m
constexpr double kLargestShift = 0.03;
constexpr double kLargestTurn = 0.4;  // rad

Thing standing(const char* name, double x, double y, const KDL::Vector& size, const std::array<uint8_t, 3>& colour) {
  return {name, size, colour, KDL::Frame(KDL::Vector(x, y, kTableTop + size.z() / 2.0)), ""};
}

// -1 to 1. The distributions of the standard library may differ from one version to the next.
double draw(std::mt19937_64& random) { return 2.0 * static_cast<double>(random() >> 11U) / std::pow(2.0, 53) - 1.0; }

}  // namespace

std::vector<Thing> make_things(uint64_t seed) {
  std::vector<Thing> things = {
      standing("red_box", 1.95, 0.6, {0.07, 0.07, 0.2}, {50, 50, 205}),
      standing("green_box", 2.0, -0.62, {0.2, 0.08, 0.15}, {70, 170, 60}),
      standing("blue_box", 2.4, 0.1, {0.12, 0.22, 0.3}, {200, 110, 50}),
      standing("tea_box", 8.6, -1.74, {0.07, 0.07, 0.14}, {60, 60, 190}),
      standing("book", 9.1, -2.1, {0.25, 0.16, 0.05}, {180, 150, 60}),
      standing("bottle", 9.45, -1.75, {0.06, 0.06, 0.24}, {90, 190, 90}),
  };
  if (seed != 0) {
    std::mt19937_64 random(seed);
    for (Thing& thing : things) {
      thing.pose.p += KDL::Vector(kLargestShift * draw(random), kLargestShift * draw(random), 0.0);
      thing.pose.M = KDL::Rotation::RotZ(kLargestTurn * draw(random));
    }
  }
  return things;
}

}  // namespace norvik::simulator
