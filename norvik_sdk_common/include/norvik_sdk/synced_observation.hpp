#pragma once

#include <memory>
#include <unordered_map>

#include <norvik_sdk/joints.hpp>
#include <norvik_sdk/sensors.hpp>

namespace norvik::sdk {

// Samples of several cameras, and of the joints, closest in time to the newest frame of the first camera asked for.
// The records are shared with the library: read only.
struct SyncedObservation {
  std::unordered_map<SensorType, std::shared_ptr<RgbData>> rgb_data;      // one for each colour camera asked for
  std::unordered_map<SensorType, std::shared_ptr<DepthData>> depth_data;  // one for each depth camera asked for
  std::shared_ptr<JointStateMessage> joint_state;                         // empty unless asked for
};

}  // namespace norvik::sdk
