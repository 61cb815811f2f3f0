#pragma once

#include <memory>

#include "services/planning/scene_changes.hpp"
#include "sight/scene.hpp"
#include "wire/environment.hpp"

namespace norvik::simulator {

// The eyes of the planner: one look of one of the robot's depth cameras at its surroundings. For one thread.
class DepthCamera {
 public:
  explicit DepthCamera(const Environment& environment) : environment_(environment) {}

  // `time` in seconds after start-up. Without link for a camera that the robot does not have.
  DepthCloud take(kelvorn_proto::CameraType camera, double time);

 private:
  const Environment& environment_;
  std::unique_ptr<Scene> scene_;  // Made at the first look.
};

}  // namespace norvik::simulator
