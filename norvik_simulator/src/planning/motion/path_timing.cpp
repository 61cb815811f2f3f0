#include "planning/motion/path_timing.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

#include "planning/collision/path_check.hpp"

namespace norvik::simulator::planning {

namespace {

constexpr double kPointDistance = 0.05;  // Radians or metres of all joints together.
constexpr double kStill = 1e-9;

std::vector<Joints> fill(const std::vector<Joints>& corners) {
  std::vector<Joints> points{corners.front()};
  for (size_t i = 1; i < corners.size(); ++i) {
    const double length = distance(corners[i - 1], corners[i]);
    if (length < kStill) {
      continue;
    }
    const double count = std::ceil(length / kPointDistance);
    for (double n = 1.0; n <= count; ++n) {
      points.push_back(between(corners[i - 1], corners[i], n / count));
    }
  }
  return points;
}

double direction(const std::vector<Joints>& points, size_t piece, size_t joint, double length) {
  return (points[piece + 1][joint] - points[piece][joint]) / length;
}

// Half of each joint's acceleration is for turning, the other half for getting faster.
struct PieceLimits {
  double speed;
  double acceleration;
};

PieceLimits limits_of(const std::vector<Joints>& points, size_t piece, double length,
                      const std::vector<JointDynamics>& dynamics) {
  PieceLimits limits{std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  for (size_t joint = 0; joint < dynamics.size(); ++joint) {
    const double share = std::abs(direction(points, piece, joint, length));
    if (share > kStill) {
      limits.speed = std::min(limits.speed, dynamics[joint].speed / share);
      limits.acceleration = std::min(limits.acceleration, dynamics[joint].acceleration / 2.0 / share);
    }
  }
  return limits;
}

// The speed at which the joints can turn from one piece into the next within the time of half of both.
double turning_speed(const std::vector<Joints>& points, size_t piece, const std::vector<double>& lengths,
                     const std::vector<JointDynamics>& dynamics) {
  const double room = (lengths[piece] + lengths[piece + 1]) / 2.0;
  double squared = std::numeric_limits<double>::infinity();
  for (size_t joint = 0; joint < dynamics.size(); ++joint) {
    const double turn = std::abs(direction(points, piece + 1, joint, lengths[piece + 1]) -
                                 direction(points, piece, joint, lengths[piece]));
    if (turn > kStill) {
      squared = std::min(squared, dynamics[joint].acceleration / 2.0 * room / turn);
    }
  }
  return std::sqrt(squared);
}

}  // namespace

Path time_path(const std::vector<Joints>& corners, std::vector<std::string> chains,
               const std::vector<JointDynamics>& dynamics, double least) {
  Path path{std::move(chains), fill(corners), {0.0}};
  if (path.points.size() < 2) {
    path.points.push_back(path.points.front());
    path.times.push_back(std::max(least, kPointDistance));
    return path;
  }
  const size_t pieces = path.points.size() - 1;
  std::vector<double> lengths(pieces);
  std::vector<PieceLimits> limits(pieces);
  for (size_t i = 0; i < pieces; ++i) {
    lengths[i] = distance(path.points[i], path.points[i + 1]);
    limits[i] = limits_of(path.points, i, lengths[i], dynamics);
  }
  std::vector<double> speeds(pieces + 1, 0.0);  // At the points.
  for (size_t i = 1; i < pieces; ++i) {
    speeds[i] = std::min({limits[i - 1].speed, limits[i].speed, turning_speed(path.points, i - 1, lengths, dynamics)});
  }
  for (size_t i = 0; i < pieces; ++i) {
    speeds[i + 1] =
        std::min(speeds[i + 1], std::sqrt(speeds[i] * speeds[i] + 2.0 * limits[i].acceleration * lengths[i]));
  }
  for (size_t i = pieces; i-- > 0;) {
    speeds[i] =
        std::min(speeds[i], std::sqrt(speeds[i + 1] * speeds[i + 1] + 2.0 * limits[i].acceleration * lengths[i]));
  }
  for (size_t i = 0; i < pieces; ++i) {
    // A single piece from rest to rest gets faster on its first half, slower on the second.
    const double mean = pieces == 1 ? std::min(limits[0].speed, std::sqrt(limits[0].acceleration * lengths[0])) / 2.0
                                    : (speeds[i] + speeds[i + 1]) / 2.0;
    path.times.push_back(path.times.back() + lengths[i] / mean);
  }
  const double stretch = std::max(1.0, least / path.times.back());
  for (double& time : path.times) {
    time *= stretch;
  }
  return path;
}

}  // namespace norvik::simulator::planning
