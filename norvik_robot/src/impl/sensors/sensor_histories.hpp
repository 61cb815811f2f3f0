#pragma once

#include <cstddef>
#include <map>
#include <memory>

#include <norvik_sdk/types.hpp>

#include "impl/sensors/timestamped_ring_buffer.hpp"

namespace norvik::sdk {

// The short memory from which synchronised observations are put together: the last frames of every colour and depth
// camera and the last joint states. The joints need more, they come faster than frames. Any thread.
class SensorHistories {
 public:
  SensorHistories();

  // Ignore empty records and sensors of another kind.
  void push_rgb_history(SensorType sensor, const std::shared_ptr<RgbData>& frame);
  void push_depth_history(SensorType sensor, const std::shared_ptr<DepthData>& frame);
  void push_joint_history(const std::shared_ptr<JointStateMessage>& state);

  // Null for a sensor of another kind.
  const TimestampedRingBuffer<RgbData>* rgb(SensorType sensor) const;
  const TimestampedRingBuffer<DepthData>* depth(SensorType sensor) const;
  const TimestampedRingBuffer<JointStateMessage>& joints() const { return joints_; }

 private:
  // The sets of keys are complete from the start, so that pushing and searching need no lock over the maps.
  std::map<SensorType, TimestampedRingBuffer<RgbData>> rgb_;
  std::map<SensorType, TimestampedRingBuffer<DepthData>> depth_;
  TimestampedRingBuffer<JointStateMessage> joints_;
};

}  // namespace norvik::sdk
