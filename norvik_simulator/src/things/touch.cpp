#include "things/touch.hpp"

#include <algorithm>
#include <cmath>
#include <limits>

namespace norvik::simulator {

namespace {

constexpr double kPad = 0.008;     // m, from the middle of a finger's pad to its edge
constexpr double kSlack = 0.0005;  // m
constexpr double kLip = 0.01;      // m that the soft lip of a suction cup gives way, and reaches

}  // namespace

std::optional<Span> span_inside(const KDL::Frame& pose, const KDL::Vector& size, const KDL::Vector& origin,
                                const KDL::Vector& direction) {
  const KDL::Vector start = pose.Inverse() * origin;
  const KDL::Vector way = pose.M.Inverse() * direction;
  Span span{-std::numeric_limits<double>::infinity(), std::numeric_limits<double>::infinity()};
  for (int axis = 0; axis < 3; ++axis) {
    const double half = size(axis) / 2.0;
    if (std::abs(way(axis)) < 1e-9) {
      if (std::abs(start(axis)) > half) {
        return std::nullopt;
      }
      continue;
    }
    const double one = (-half - start(axis)) / way(axis);
    const double other = (half - start(axis)) / way(axis);
    span.from = std::max(span.from, std::min(one, other));
    span.to = std::min(span.to, std::max(one, other));
  }
  return span.from < span.to ? std::optional<Span>(span) : std::nullopt;
}

std::optional<Span> span_between(const Fingers& fingers, const Thing& thing) {
  static const KDL::Vector kPadPoints[] = {
      {0.0, 0.0, 0.0}, {kPad, 0.0, kPad}, {kPad, 0.0, -kPad}, {-kPad, 0.0, kPad}, {-kPad, 0.0, -kPad}};
  std::optional<Span> all;
  for (const KDL::Vector& point : kPadPoints) {
    if (const auto span = span_inside(thing.pose, thing.size, fingers.frame * point, fingers.frame.M.UnitY())) {
      all = all ? Span{std::min(all->from, span->from), std::max(all->to, span->to)} : *span;
    }
  }
  const double reach = fingers.opening / 2.0 + kSlack;
  const bool fits = all && all->from > -reach && all->to < reach;
  return fits ? all : std::nullopt;
}

bool touches(const Cup& cup, const KDL::Frame& pose, const KDL::Vector& size) {
  const auto span = span_inside(pose, size, cup.frame.p, -cup.frame.M.UnitZ());
  return span && std::abs(span->from) < kLip;
}

double lowest_point(const Thing& thing) {
  const KDL::Vector down = thing.pose.M.Inverse() * KDL::Vector(0.0, 0.0, 1.0);
  double reach = 0.0;
  for (int axis = 0; axis < 3; ++axis) {
    reach += std::abs(down(axis)) * thing.size(axis) / 2.0;
  }
  return -reach;
}

KDL::Rotation settled(const KDL::Rotation& rotation) {
  const KDL::Vector up = rotation.Inverse() * KDL::Vector(0.0, 0.0, 1.0);
  int axis = 0;
  for (int i = 1; i < 3; ++i) {
    axis = std::abs(up(i)) > std::abs(up(axis)) ? i : axis;
  }
  KDL::Vector own = KDL::Vector::Zero();
  own(axis) = up(axis) > 0.0 ? 1.0 : -1.0;
  const KDL::Vector now = rotation * own;
  const KDL::Vector turn = now * KDL::Vector(0.0, 0.0, 1.0);
  const double sine = turn.Norm();
  return sine < 1e-9 ? rotation : KDL::Rotation::Rot(turn, std::asin(std::min(sine, 1.0))) * rotation;
}

}  // namespace norvik::simulator
