#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>
#include <kdl/frames.hpp>

#include "things/thing.hpp"
#include "things/touch.hpp"

namespace norvik::simulator {

// The things, the hands that hold them, and what they fall onto. A held thing moves rigidly with its hand; one that is
// let go falls straight down and comes to rest on one of its sides. That is all the physics there is. Not thread-safe.
class Things {
 public:
  // What a hand touches.
  struct Contact {
    double extent = 0.0;  // metres between the fingers that the thing takes; 0 for a suction cup
    bool holds = false;
  };

  // `surfaces` are the boxes that carry things, along the axes of the map.
  Things(std::vector<Thing> things, std::vector<Block> surfaces);

  const std::vector<Thing>& list() const { return things_; }

  // Stands a thing upright at a place on the map, out of any hand; without `z` on the highest surface there that is
  // below a door's lintel. False for an unknown name.
  bool place(const std::string& name, double x, double y, std::optional<double> z, double yaw);

  // To be called for every hand after each of its steps. Fingers that press on a thing take it, and keep it until they
  // are wider than it; a cup that holds takes what it touches, and keeps it until it holds no more.
  std::optional<Contact> follow(const std::string& hand, const Fingers& fingers, bool press);
  std::optional<Contact> follow(const std::string& hand, const Cup& cup, bool hold);

  // After the hands. What nobody holds goes down.
  void fall(double dt);

 private:
  struct Hold {
    size_t thing;
    KDL::Frame in_hand;
    double extent;
  };
  void take(const std::string& hand, const KDL::Frame& frame, size_t thing, double extent);
  void release(const std::string& hand);
  void carry(const Hold& hold, const KDL::Frame& frame) { things_[hold.thing].pose = frame * hold.in_hand; }
  double support_below(size_t thing, double height) const;
  void land(size_t thing, double support);

  std::vector<Thing> things_;
  const std::vector<Block> surfaces_;
  std::map<std::string, Hold> holds_;  // By hand.
  std::vector<double> speeds_;         // m/s, downwards; 0 for a thing that rests.
};

}  // namespace norvik::simulator
