#pragma once

#include <vector>

#include "navigation/navigation.hpp"
#include "ovimux/node.hpp"
#include "sight/observer.hpp"
#include "sight/sensor_settings.hpp"
#include "wire/delay_queue.hpp"
#include "wire/endpoint_info.hpp"
#include "wire/pace.hpp"
#include "wire/planner_faults.hpp"
#include "wire/wire_faults.hpp"
#include "world/speaker.hpp"
#include "world/world.hpp"

namespace norvik::simulator {

// What every service works with. All of it outlives the services.
struct Environment {
  World& world;
  WireFaults& faults;
  PlannerFaults& planner_faults;
  DelayQueue& delays;
  ovimux::Node& node;
  const SensorSettings& sensors;
  InfraredMode& infrared;
  Speaker& speaker;
  Observer& observer;
  Navigation& navigation;
  const std::vector<EndpointInfo>& endpoints;  // Of this model.
  const Pace& pace;
  const std::string& picture_folder;  // Of pictures of the map; empty for none.
};

}  // namespace norvik::simulator
