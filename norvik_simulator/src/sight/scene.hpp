#pragma once

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <vector>
#include <kdl/frames.hpp>
#include <opencv2/core.hpp>

namespace norvik::simulator {

// The robot's surroundings, on the map: rooms, what stands in them, and what slides to and fro.
// Every sensor looks at it through rays. For one thread at a time.
class Scene {
 public:
  Scene();
  ~Scene();
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  // Puts what moves where it is `time` seconds after start-up.
  void move_to(double time);

  struct Direction {
    float x, y, z;
  };
  struct Hit {
    float distance = std::numeric_limits<float>::infinity();  // In lengths of the ray's direction.
    Direction normal{0.0F, 0.0F, 0.0F};                       // Of length 1, towards the origin of the ray.
    uint32_t body = 0;

    bool exists() const { return distance < std::numeric_limits<float>::infinity(); }
  };
  // What rays from one point meet first. `hits` gets one entry for each direction.
  void cast(const KDL::Vector& origin, const std::vector<Direction>& directions, std::vector<Hit>& hits);

  // Metres along the x axis of `sensor` to the nearest surface; empty when there is none.
  std::optional<double> distance(const KDL::Frame& sensor);

  // Blue, green, red, as the body looks at that point under full light.
  cv::Vec3b colour(uint32_t body, const KDL::Vector& point) const;

 private:
  struct Core;
  const std::unique_ptr<Core> core_;
};

}  // namespace norvik::simulator
