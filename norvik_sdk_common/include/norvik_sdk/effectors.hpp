#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>

#include <norvik_sdk/joints.hpp>

namespace norvik::sdk {

struct GripperState {
  int64_t timestamp_ns = 0;
  double width = 0.0;     // opening, metres
  double velocity = 0.0;  // metres per second
  double effort = 0.0;
  bool is_moving = false;
};

struct SuctionCupState {
  int64_t timestamp_ns = 0;
  bool activated = false;  // action_state is 1 or 2
  double pressure = 0.0;
  int32_t action_state = 0;  // as the robot tells it
};

enum class DexHandType : int32_t { INSPIRE = 0, BRAINCO = 1, SHARPA = 2, LINKER_L20 = 3 };

// Force on one sensor of a hand: newtons and newton metres in the sensor's frame.
struct EffortInfo {
  int64_t timestamp_ns = 0;
  double force_x = 0.0;
  double force_y = 0.0;
  double force_z = 0.0;
  double torque_x = 0.0;
  double torque_y = 0.0;
  double torque_z = 0.0;
};

struct DexhandState {
  int64_t timestamp_ns = 0;  // that of joint_state
  JointStateMessage joint_state;
  std::unordered_map<std::string, EffortInfo> effort_map;  // by sensor name; filled by Sharpa hands only
};

}  // namespace norvik::sdk
