#pragma once

#include <cstdint>

#include <norvik_sdk/types.hpp>

#include "norvik/sensor_proto/effort.pb.h"

namespace norvik::sdk {

// `timestamp_ns` is the time of the report that carried the sensor.
inline EffortInfo convert_effort_to_struct(const sensor_proto::EffortSensor& sensor, int64_t timestamp_ns) {
  EffortInfo info;
  info.timestamp_ns = timestamp_ns;
  info.force_x = sensor.force().x();
  info.force_y = sensor.force().y();
  info.force_z = sensor.force().z();
  info.torque_x = sensor.torque().x();
  info.torque_y = sensor.torque().y();
  info.torque_z = sensor.torque().z();
  return info;
}

}  // namespace norvik::sdk
