#include "things/things.hpp"

#include <algorithm>
#include <cmath>
#include <utility>

namespace norvik::simulator {

namespace {

constexpr double kGravity = 9.81;    // m/s²
constexpr double kOpened = 0.001;    // m that fingers open before what they hold slips out
constexpr double kSunk = 0.03;       // m that a thing may be let go inside of what is to carry it
constexpr double kPlaceBelow = 2.0;  // m

bool is_above(const Block& block, const KDL::Vector& point) {
  return std::abs(point.x() - block.centre.x()) <= block.size.x() / 2.0 &&
         std::abs(point.y() - block.centre.y()) <= block.size.y() / 2.0;
}

bool is_above(const Thing& thing, const KDL::Vector& point) {
  return span_inside(thing.pose, thing.size, point, KDL::Vector(0.0, 0.0, 1.0)).has_value();
}

double top_of(const Block& block) { return block.centre.z() + block.size.z() / 2.0; }

double top_of(const Thing& thing) { return thing.pose.p.z() - lowest_point(thing); }

}  // namespace

Things::Things(std::vector<Thing> things, std::vector<Block> surfaces)
    : things_(std::move(things)), surfaces_(std::move(surfaces)), speeds_(things_.size(), 0.0) {}

bool Things::place(const std::string& name, double x, double y, std::optional<double> z, double yaw) {
  const auto thing = std::find_if(things_.begin(), things_.end(), [&](const Thing& each) { return each.name == name; });
  if (thing == things_.end()) {
    return false;
  }
  const auto index = static_cast<size_t>(thing - things_.begin());
  release(std::exchange(thing->held_by, ""));
  thing->pose = {KDL::Rotation::RotZ(yaw), KDL::Vector(x, y, z.value_or(0.0))};
  speeds_[index] = 0.0;
  if (!z) {
    land(index, support_below(index, kPlaceBelow));
  }
  return true;
}

std::optional<Things::Contact> Things::follow(const std::string& hand, const Fingers& fingers, bool press) {
  if (const auto held = holds_.find(hand); held != holds_.end()) {
    const Hold hold = held->second;
    carry(hold, fingers.frame);
    if (fingers.opening <= hold.extent + kOpened) {
      return Contact{hold.extent, true};
    }
    release(hand);
    return std::nullopt;
  }
  for (size_t i = 0; i < things_.size(); ++i) {
    const auto span = span_between(fingers, things_[i]);
    if (!span) {
      continue;
    }
    const double extent = span->to - span->from;
    const bool takes = press && things_[i].held_by.empty() && fingers.opening <= extent + kOpened;
    if (takes) {
      // The finger that came first has pushed it to the middle.
      things_[i].pose.p -= fingers.frame.M.UnitY() * ((span->from + span->to) / 2.0);
      take(hand, fingers.frame, i, extent);
    }
    return Contact{extent, takes};
  }
  return std::nullopt;
}

std::optional<Things::Contact> Things::follow(const std::string& hand, const Cup& cup, bool hold) {
  if (const auto held = holds_.find(hand); held != holds_.end()) {
    carry(held->second, cup.frame);
    if (hold) {
      return Contact{0.0, true};
    }
    release(hand);
  }
  for (size_t i = 0; i < things_.size(); ++i) {
    if (touches(cup, things_[i].pose, things_[i].size)) {
      const bool takes = hold && things_[i].held_by.empty();
      if (takes) {
        take(hand, cup.frame, i, 0.0);
      }
      return Contact{0.0, takes};
    }
  }
  const bool on_surface = std::any_of(surfaces_.begin(), surfaces_.end(), [&](const Block& block) {
    return touches(cup, KDL::Frame(block.centre), block.size);
  });
  return on_surface ? std::optional<Contact>(Contact{}) : std::nullopt;
}

void Things::take(const std::string& hand, const KDL::Frame& frame, size_t thing, double extent) {
  holds_[hand] = {thing, frame.Inverse() * things_[thing].pose, extent};
  things_[thing].held_by = hand;
  speeds_[thing] = 0.0;
}

void Things::release(const std::string& hand) {
  if (const auto held = holds_.find(hand); held != holds_.end()) {
    things_[held->second.thing].held_by.clear();
    holds_.erase(held);
  }
}

// The top of what is under the middle of the thing and not above `height`; the floor when nothing else is.
double Things::support_below(size_t thing, double height) const {
  const KDL::Vector& middle = things_[thing].pose.p;
  double support = 0.0;
  const auto consider = [&](const auto& carrier) {
    if (const double top = top_of(carrier); top > support && top <= height && is_above(carrier, middle)) {
      support = top;
    }
  };
  std::for_each(surfaces_.begin(), surfaces_.end(), consider);
  for (size_t i = 0; i < things_.size(); ++i) {
    if (i != thing && things_[i].held_by.empty()) {
      consider(things_[i]);
    }
  }
  return support;
}

void Things::fall(double dt) {
  for (size_t i = 0; i < things_.size(); ++i) {
    Thing& thing = things_[i];
    if (!thing.held_by.empty()) {
      continue;
    }
    const double bottom = thing.pose.p.z() + lowest_point(thing);
    const double support = support_below(i, bottom + kSunk);
    speeds_[i] += kGravity * dt;
    if (bottom - support <= speeds_[i] * dt) {
      land(i, support);
    } else {
      thing.pose.p.z(thing.pose.p.z() - speeds_[i] * dt);
    }
  }
}

void Things::land(size_t thing, double support) {
  Thing& landed = things_[thing];
  landed.pose.M = settled(landed.pose.M);
  landed.pose.p.z(support - lowest_point(landed));
  speeds_[thing] = 0.0;
}

}  // namespace norvik::simulator
