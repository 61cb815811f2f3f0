#include "navigation/path_finder.hpp"

#include <algorithm>
#include <cmath>
#include <opencv2/imgproc.hpp>

#include "navigation/map/grid_search.hpp"

namespace norvik::simulator {

namespace {

constexpr double kLeastClearance = 0.03;  // m, of the outline; below it a goal counts as occupied
constexpr double kMargin = 0.05;          // m that the way keeps beyond what turning takes
constexpr double kLiked = 0.4;            // m beyond that are better still
constexpr double kBerthRange = 1.5;       // m
constexpr double kStep = 0.04;            // m between the places at which a way is looked at
constexpr double kTurnStep = 0.1;         // rad
constexpr double kFreed = 0.15;           // m after which a robot that stood too near has to be clear

double between(const Point& a, const Point& b) { return std::hypot(a.x - b.x, a.y - b.y); }

// Calls `look` for poses all along a straight line, ends included, until it returns false.
template <typename Look>
bool all_along(const PlanarPose& from, const PlanarPose& to, const Look& look) {
  const double way =
      std::max(std::hypot(to.x - from.x, to.y - from.y) / kStep, std::abs(wrap_angle(to.yaw - from.yaw)) / kTurnStep);
  const int steps = std::max(1, static_cast<int>(std::ceil(way)));
  for (int i = 0; i <= steps; ++i) {
    const double share = static_cast<double>(i) / steps;
    const PlanarPose pose = {from.x + share * (to.x - from.x), from.y + share * (to.y - from.y),
                             from.yaw + share * wrap_angle(to.yaw - from.yaw)};
    if (!look(pose)) {
      return false;
    }
  }
  return true;
}

// The poses between which a robot that follows the leg moves straight, or turns on the spot.
std::vector<PlanarPose> poses_of(const PlanarPose& start, const Leg& leg) {
  std::vector<PlanarPose> poses = {start};
  const double total = std::max(1e-9, length_of(leg.points));
  double done = 0.0;
  double yaw = leg.facing == Facing::kKept ? leg.last_yaw : start.yaw;
  for (size_t i = 1; i < leg.points.size(); ++i) {
    const Point& from = leg.points[i - 1];
    const Point& to = leg.points[i];
    done += between(from, to);
    if (leg.facing == Facing::kAhead && between(from, to) > 1e-6) {
      yaw = std::atan2(to.y - from.y, to.x - from.x);
    }
    poses.push_back({from.x, from.y, yaw});
    if (leg.facing == Facing::kTurning) {
      yaw = start.yaw + wrap_angle(leg.last_yaw - start.yaw) * done / total;
    }
    poses.push_back({to.x, to.y, yaw});
  }
  poses.push_back({poses.back().x, poses.back().y, leg.last_yaw});
  return poses;
}

}  // namespace

double length_of(const std::vector<Point>& points) {
  double length = 0.0;
  for (size_t i = 1; i < points.size(); ++i) {
    length += between(points[i - 1], points[i]);
  }
  return length;
}

PathFinder::PathFinder(OccupancyGrid grid, std::vector<Shape> obstacles, Outline outline)
    : grid_(std::move(grid)), obstacles_(std::move(obstacles)), outline_(std::move(outline)) {}

Search PathFinder::find(const PlanarPose& start, const PlanarPose& goal, Facing facing) const {
  if (touches(goal)) {
    return {Search::Result::kGoalOccupied, {}};
  }
  const double reach = outline_.reach();
  if (auto route = find_within(make_room(reach), start, goal, facing)) {
    return {Search::Result::kFound, std::move(*route)};
  }
  const double base_reach = outline_.reach(1);
  if (base_reach < reach) {
    auto route = find_within(make_room(base_reach), start, goal, facing);
    if (route && is_clear(start, *route)) {
      return {Search::Result::kFound, std::move(*route)};
    }
  }
  return {};
}

bool PathFinder::touches(const PlanarPose& pose) const {
  const bool outside = !grid_.contains(grid_.cell_at({pose.x, pose.y}));
  return outside || clearance(outline_, pose, obstacles_, 2.0 * kLeastClearance) < kLeastClearance;
}

PathFinder::Room PathFinder::make_room(double reach) const {
  // A cell may be covered at its edge only, and the way lead through the corner of one.
  Room room{grid_.distances(), {}, reach + kMargin + 0.5 * grid_.resolution()};
  cv::connectedComponents(room.distances >= room.least, room.areas, 8, CV_32S);
  return room;
}

std::optional<Route> PathFinder::find_within(const Room& room, const PlanarPose& start, const PlanarPose& goal,
                                             Facing facing) const {
  const auto from = find_berth(room, start, 0);
  const auto to = from ? find_berth(room, goal, room.areas.at<int>(*from)) : std::nullopt;
  if (!to) {
    return std::nullopt;
  }
  const auto way = search_grid(room.distances, room.least, kLiked, *from, *to);
  if (way.empty()) {
    return std::nullopt;
  }
  std::vector<Point> points;
  for (const cv::Point& cell : straighten(room.distances, room.least, kLiked, way)) {
    points.push_back(grid_.centre_of(cell));
  }
  const Point first = {start.x, start.y};
  const Point last = {goal.x, goal.y};
  const bool leaves = grid_.cell_at(first) != *from;
  const bool docks = grid_.cell_at(last) != *to;
  if (!leaves) {
    points.front() = first;
  }
  if (!docks) {
    points.size() == 1 ? points.push_back(last) : void(points.back() = last);
  }
  Route route;
  if (leaves) {
    route.push_back({{first, points.front()}, Facing::kKept, start.yaw});
  }
  route.push_back({points, facing, goal.yaw});
  if (docks) {
    route.push_back({{points.back(), last}, Facing::kKept, goal.yaw});
  }
  return route;
}

std::optional<cv::Point> PathFinder::find_berth(const Room& room, const PlanarPose& pose, int area) const {
  const Point here = {pose.x, pose.y};
  const cv::Point centre = grid_.cell_at(here);
  const int range = static_cast<int>(kBerthRange / grid_.resolution());
  std::vector<cv::Point> cells;
  for (int y = centre.y - range; y <= centre.y + range; ++y) {
    for (int x = centre.x - range; x <= centre.x + range; ++x) {
      const cv::Point cell(x, y);
      const int number = grid_.contains(cell) ? room.areas.at<int>(cell) : 0;
      if (number != 0 && (area == 0 || number == area)) {
        cells.push_back(cell);
      }
    }
  }
  const auto farness = [&](const cv::Point& cell) { return (cell - centre).ddot(cell - centre); };
  std::sort(cells.begin(), cells.end(),
            [&](const cv::Point& a, const cv::Point& b) { return farness(a) < farness(b); });
  if (!cells.empty() && cells.front() == centre) {
    return centre;
  }
  for (const cv::Point& cell : cells) {
    if (is_straight_clear(pose, grid_.centre_of(cell))) {
      return cell;
    }
  }
  return std::nullopt;
}

// A robot that stands too near to something may leave, and does not come nearer.
bool PathFinder::is_straight_clear(const PlanarPose& from, const Point& to) const {
  return all_along(from, {to.x, to.y, from.yaw}, [&](const PlanarPose& pose) {
    return std::hypot(pose.x - from.x, pose.y - from.y) < kFreed ||
           clearance(outline_, pose, obstacles_, kLeastClearance) >= kLeastClearance;
  });
}

bool PathFinder::is_clear(const PlanarPose& start, const Route& route) const {
  const auto is_free = [&](const PlanarPose& pose) {
    return std::hypot(pose.x - start.x, pose.y - start.y) < kFreed ||
           clearance(outline_, pose, obstacles_, kLeastClearance) >= kLeastClearance;
  };
  PlanarPose from = start;
  for (const Leg& leg : route) {
    for (const PlanarPose& to : poses_of(from, leg)) {
      if (!all_along(from, to, is_free)) {
        return false;
      }
      from = to;
    }
  }
  return true;
}

}  // namespace norvik::simulator
