#pragma once

#include "world/planar.hpp"

namespace norvik::simulator {

// Where the base is on the map, and where it believes to be: both move with its odometry, and part when something
// pushes it. Not thread-safe.
class Localisation {
 public:
  // Moves the base by `displacement`, told in its own frame, without its noticing.
  void push(const PlanarPose& odometry, const PlanarPose& displacement);

  // Somebody says where the base is. A guess that is near enough to what the sensors see locks in on it; another one is
  // believed as it stands.
  void relocalise(const PlanarPose& odometry, const PlanarPose& guess);

  // On the map.
  PlanarPose truth(const PlanarPose& odometry) const { return compose(true_origin_, odometry); }
  PlanarPose believed(const PlanarPose& odometry) const { return compose(origin_, odometry); }
  // Where odometry began, as far as the base knows: the pose of "odom" in "map".
  const PlanarPose& origin() const { return origin_; }

  // 0 to 1: how well what the sensors see fits the map from the believed pose.
  double score(const PlanarPose& odometry) const;

 private:
  PlanarPose true_origin_;
  PlanarPose origin_;
};

}  // namespace norvik::simulator
