#include "world/surroundings.hpp"

#include <cmath>

namespace norvik::simulator {

namespace {

using Colour = std::array<uint8_t, 3>;

constexpr Colour kTiles = {120, 125, 130};
constexpr Colour kWood = {95, 150, 190};
constexpr Colour kWall = {205, 215, 215};
constexpr Colour kBlueWall = {215, 205, 190};
constexpr Colour kSandWall = {190, 205, 215};
constexpr Colour kSteel = {150, 145, 140};

constexpr double kWallHeight = 2.5;
constexpr double kDoorHeight = 2.1;
constexpr double kThick = 0.1;
constexpr double kTableTop = 0.75;
constexpr double kBoard = 0.04;
constexpr double kLeg = 0.06;

using Boxes = std::vector<SceneBox>;

// Standing on the floor.
SceneBox block(double x, double y, double width, double depth, double height, const Colour& colour) {
  return {{x, y, height / 2.0}, {width, depth, height}, colour};
}

// Along x or y, corners included.
SceneBox wall(double x1, double y1, double x2, double y2, const Colour& colour) {
  return block((x1 + x2) / 2.0, (y1 + y2) / 2.0, x2 - x1 + kThick, y2 - y1 + kThick, kWallHeight, colour);
}

// What is above a door.
SceneBox lintel(double x1, double y1, double x2, double y2, const Colour& colour) {
  return {{(x1 + x2) / 2.0, (y1 + y2) / 2.0, (kDoorHeight + kWallHeight) / 2.0},
          {x2 > x1 ? x2 - x1 - kThick : kThick, y2 > y1 ? y2 - y1 - kThick : kThick, kWallHeight - kDoorHeight},
          colour};
}

void add(Boxes& boxes, const Boxes& more) { boxes.insert(boxes.end(), more.begin(), more.end()); }

Boxes table(double x, double y, double width, double depth) {
  Boxes boxes = {{{x, y, kTableTop - kBoard / 2.0}, {width, depth, kBoard}, kWood}};
  for (const double side : {-1.0, 1.0}) {
    for (const double end : {-1.0, 1.0}) {
      boxes.push_back(
          block(x + side * (width / 2.0 - 0.1), y + end * (depth / 2.0 - 0.1), kLeg, kLeg, kTableTop - kBoard, kWood));
    }
  }
  return boxes;
}

Boxes walls() {
  return {wall(5.0, -5.0, 5.0, -4.4, kWall),       wall(5.0, -3.0, 5.0, 5.0, kWall),
          lintel(5.0, -4.4, 5.0, -3.0, kWall),     wall(-5.0, -5.0, -5.0, 12.4, kWall),
          wall(-5.0, 5.0, 2.6, 5.0, kBlueWall),    lintel(2.6, 5.0, 4.0, 5.0, kBlueWall),
          wall(4.0, 5.0, 9.6, 5.0, kBlueWall),     lintel(9.6, 5.0, 11.0, 5.0, kBlueWall),
          wall(11.0, 5.0, 12.0, 5.0, kBlueWall),   wall(-5.0, -5.0, 12.0, -5.0, kSandWall),
          wall(12.0, -5.0, 12.0, 7.4, kWall),      wall(-5.0, 7.4, -2.0, 7.4, kSandWall),
          lintel(-2.0, 7.4, -0.6, 7.4, kSandWall), wall(-0.6, 7.4, 12.0, 7.4, kSandWall),
          wall(4.0, 7.4, 4.0, 12.4, kWall),        wall(-5.0, 12.4, 4.0, 12.4, kBlueWall)};
}

// Where the robot starts, in the middle.
Boxes first_room() {
  Boxes boxes = table(2.2, 0.0, 0.8, 1.6);
  add(boxes, {{{1.95, 0.0, 0.81}, {0.12, 0.12, 0.12}, {40, 200, 230}, {0.0, 0.4, 0.0}, 12.0},
              block(-1.5, 2.6, 0.5, 1.2, 1.8, {70, 90, 130}),
              block(1.0, -2.4, 0.6, 0.6, 0.6, {160, 80, 150}),
              block(-2.2, -1.2, 0.8, 0.5, 1.0, {90, 160, 170})});
  return boxes;
}

Boxes east_room() {
  Boxes boxes = table(9.0, -2.0, 1.6, 0.8);
  add(boxes, {block(11.65, 1.5, 0.5, 2.0, 1.8, {70, 90, 130}), block(8.0, 2.0, 0.4, 0.4, kWallHeight, kWall),
              block(6.2, 3.6, 0.7, 0.6, 0.6, {160, 80, 150})});
  return boxes;
}

Boxes study() {
  Boxes boxes = table(1.6, 10.4, 1.4, 0.7);
  add(boxes, {block(-4.6, 10.0, 0.6, 1.6, 1.8, {70, 90, 130}), block(-1.5, 11.6, 0.6, 0.5, 1.0, {90, 160, 170})});
  return boxes;
}

}  // namespace

const std::vector<SceneBox>& surroundings() {
  static const Boxes kBoxes = [] {
    Boxes boxes = {{{3.5, 3.7, -0.05}, {19.0, 19.4, 0.1}, kTiles}};
    add(boxes, walls());
    add(boxes, first_room());
    add(boxes, east_room());
    add(boxes, study());
    // The cart in the corridor.
    boxes.push_back({{6.5, 7.05, 0.45}, {0.7, 0.5, 0.9}, kSteel, {2.0, 0.0, 0.0}, 20.0});
    return boxes;
  }();
  return kBoxes;
}

KDL::Vector centre_at(const SceneBox& box, double time) {
  return box.slides() ? box.centre + box.slide * std::sin(2.0 * M_PI * time / box.period) : box.centre;
}

}  // namespace norvik::simulator
