#pragma once

#include <optional>
#include <kdl/frames.hpp>

#include "things/thing.hpp"

namespace norvik::simulator {

// Where two fingers are that close on the origin of `frame` (on the map) from both sides, along its y axis.
struct Fingers {
  KDL::Frame frame;
  double opening;  // metres between them
};

// A suction cup with its lip at the origin of `frame`, on the map; it faces along the negative z axis.
struct Cup {
  KDL::Frame frame;
};

// A box along the axes of the map, metres.
struct Block {
  KDL::Vector centre;
  KDL::Vector size;
};

// From one end of something to the other, metres.
struct Span {
  double from;
  double to;
};

// The part of the line from `origin` along `direction` (of length 1) inside a box with its middle at `pose`; empty when
// the line passes it.
std::optional<Span> span_inside(const KDL::Frame& pose, const KDL::Vector& size, const KDL::Vector& origin,
                                const KDL::Vector& direction);

// What of the thing the fingers' pads would touch, along the y axis of their frame; empty when they would close without
// touching it, or when it is not between them.
std::optional<Span> span_between(const Fingers& fingers, const Thing& thing);

// Whether a surface of the box is at the lip of the cup.
bool touches(const Cup& cup, const KDL::Frame& pose, const KDL::Vector& size);

// Height of the thing's lowest point above its middle, negative.
double lowest_point(const Thing& thing);
// The pose of a thing that has tipped onto the side that was nearest to the floor.
KDL::Rotation settled(const KDL::Rotation& rotation);

}  // namespace norvik::simulator
