#include "impl/sensors/sensor_histories.hpp"

#include "impl/sensors/sensor_tables.hpp"

namespace norvik::sdk {
namespace {

constexpr size_t kFrameCapacity = 3;
constexpr size_t kJointCapacity = 12;

template <typename Histories>
auto find_history(Histories& histories, SensorType sensor) -> decltype(&histories.begin()->second) {
  const auto history = histories.find(sensor);
  return history == histories.end() ? nullptr : &history->second;
}

}  // namespace

SensorHistories::SensorHistories() : joints_(kJointCapacity) {
  const SensorFamilies families = sensor_families(MachineType::K2);
  for (const SensorType sensor : families.rgb) {
    rgb_.try_emplace(sensor, kFrameCapacity);
  }
  for (const SensorType sensor : families.depth) {
    depth_.try_emplace(sensor, kFrameCapacity);
  }
}

void SensorHistories::push_rgb_history(SensorType sensor, const std::shared_ptr<RgbData>& frame) {
  if (auto* const history = find_history(rgb_, sensor)) {
    history->push(frame);
  }
}

void SensorHistories::push_depth_history(SensorType sensor, const std::shared_ptr<DepthData>& frame) {
  if (auto* const history = find_history(depth_, sensor)) {
    history->push(frame);
  }
}

void SensorHistories::push_joint_history(const std::shared_ptr<JointStateMessage>& state) { joints_.push(state); }

const TimestampedRingBuffer<RgbData>* SensorHistories::rgb(SensorType sensor) const {
  return find_history(rgb_, sensor);
}

const TimestampedRingBuffer<DepthData>* SensorHistories::depth(SensorType sensor) const {
  return find_history(depth_, sensor);
}

}  // namespace norvik::sdk
