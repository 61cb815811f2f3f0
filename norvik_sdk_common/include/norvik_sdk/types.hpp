#pragma once

// Every record and enumeration that crosses the facades. All are plain values; what the library hands out in a
// shared_ptr is never changed afterwards, and must be treated as read-only by its receivers.
//
// Unless a field says otherwise: lengths are metres, angles radians, durations seconds, and `timestamp_ns` is the time
// of the robot's message in nanoseconds since the Unix epoch (0 when the message carried no time).

#include <norvik_sdk/effectors.hpp>
#include <norvik_sdk/errors.hpp>
#include <norvik_sdk/joints.hpp>
#include <norvik_sdk/log_level.hpp>
#include <norvik_sdk/motion.hpp>
#include <norvik_sdk/sensors.hpp>
#include <norvik_sdk/status.hpp>
#include <norvik_sdk/synced_observation.hpp>
#include <norvik_sdk/system.hpp>
#include <norvik_sdk/targets.hpp>
