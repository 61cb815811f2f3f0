#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>
#include <kdl/frames.hpp>
#include <opencv2/core.hpp>

#include "model/body_part.hpp"
#include "things/thing.hpp"

namespace norvik::simulator {

// What surrounds the robot, on the map: rooms and what stands in them, what slides to and fro, things that can be
// grasped, and the robot's own body for those sensors that see it. Every sensor looks at it through rays. For one
// thread at a time.
class Scene {
 public:
  // Without a body the robot is not in its own sight.
  explicit Scene(const std::vector<BodyPart>& body = {});
  ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  // Puts what slides where it is `time` seconds after start-up, and `things` where they are now. Without things there
  // are none.
  void move_to(double time, const std::vector<Thing>& things = {});
  // One pose, on the map, for each part of the body, as the constructor got them.
  void move_body(const std::vector<KDL::Frame>& poses);

  struct Direction {
    float x, y, z;
  };
  struct Hit {
    float distance = std::numeric_limits<float>::infinity();  // In lengths of the ray's direction.
    Direction normal{0.0F, 0.0F, 0.0F};                       // Of length 1, towards the origin of the ray.
    uint32_t body = 0;

    bool exists() const { return distance < std::numeric_limits<float>::infinity(); }
  };
  // What rays from one point meet first. `hits` gets one entry for each direction. A part of the robot that holds the
  // point is not met: cameras look out of their own housing.
  void cast(const KDL::Vector& origin, const std::vector<Direction>& directions, std::vector<Hit>& hits);

  // Metres along the x axis of `sensor` to the nearest surface; empty when there is none.
  std::optional<double> distance(const KDL::Frame& sensor);

  // The place in the list of move_to() of the thing that `body` is; empty for anything else.
  std::optional<size_t> thing(uint32_t body) const;
  // Blue, green, red, as the body looks at that point under full light.
  cv::Vec3b colour(uint32_t body, const KDL::Vector& point) const;
  // 0 to 1: brightness of the grain of the body's surface, which moves with it. Grains are at least of `size` metres.
  float grain(uint32_t body, const KDL::Vector& point, float size) const;

 private:
  struct Core;
  const std::unique_ptr<Core> core_;
};

}  // namespace norvik::simulator
