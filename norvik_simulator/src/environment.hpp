#pragma once

#include "delay_queue.hpp"
#include "ovimux/node.hpp"
#include "sensor_settings.hpp"
#include "speaker.hpp"
#include "wire_faults.hpp"
#include "world.hpp"

namespace norvik::simulator {

// What every service works with. All of it outlives the services.
struct Environment {
  World& world;
  WireFaults& faults;
  DelayQueue& delays;
  ovimux::Node& node;
  const SensorSettings& sensors;
  InfraredMode& infrared;
  Speaker& speaker;
};

}  // namespace norvik::simulator
