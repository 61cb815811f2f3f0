#include <norvik_sdk/robot_helpers.hpp>

#include <array>
#include <cstddef>
#include <ostream>

namespace norvik::sdk {
namespace {

template <typename Enum>
std::string number_of(Enum value) {
  return std::to_string(static_cast<int32_t>(value));
}

// By value, from 0 on.
template <typename Enum, size_t N>
std::string name_in(const std::array<const char*, N>& names, Enum value) {
  const auto index = static_cast<size_t>(static_cast<int32_t>(value));
  return index < N ? names[index] : number_of(value);
}

constexpr std::array<const char*, 2> kMachines = {"K2", "R5"};
constexpr std::array<const char*, 5> kTrajectories = {"TRAJECTORY_INVALID", "TRAJECTORY_RUNNING",
                                                      "TRAJECTORY_COMPLETED", "TRAJECTORY_STOPPED_UNREACHED",
                                                      "TRAJECTORY_FAULT"};
constexpr std::array<const char*, 8> kUltrasonics = {"ULTRASONIC_0", "ULTRASONIC_1", "ULTRASONIC_2", "ULTRASONIC_3",
                                                     "ULTRASONIC_4", "ULTRASONIC_5", "ULTRASONIC_6", "ULTRASONIC_7"};
constexpr std::array<const char*, 2> kTangos = {"LEFT", "RIGHT"};
constexpr std::array<const char*, 4> kHands = {"INSPIRE", "BRAINCO", "SHARPA", "LINKER_L20"};
constexpr std::array<const char*, 6> kLevels = {"trace", "debug", "info", "warning", "error", "critical"};

}  // namespace

std::string to_string(MachineType value) { return name_in(kMachines, value); }

// The first eleven of both kinds of status are the same.
std::string to_string(ControlStatus value) {
  return value > ControlStatus::STATUS_NUM ? number_of(value) : to_string(static_cast<MotionStatus>(value));
}

// The table's texts begin with the name: "SUCCESS: Execution succeeded".
std::string to_string(MotionStatus value) {
  const auto text = status_string_map_.find(value);
  return text == status_string_map_.end() ? number_of(value) : text->second.substr(0, text->second.find(':'));
}

std::string to_string(TrajectoryControlStatus value) { return name_in(kTrajectories, value); }

std::string to_string(SensorType value) {
  const auto name = sensor_type_string_map_.find(value);
  return name == sensor_type_string_map_.end() ? number_of(value) : name->second;
}

std::string to_string(UltrasonicType value) { return name_in(kUltrasonics, value); }

std::string to_string(NorvikOneTangoSensor value) { return name_in(kTangos, value); }

std::string to_string(DexHandType value) { return name_in(kHands, value); }

std::string to_string(ActuateType value) {
  for (const auto& [name, type] : g_actuate_type_map) {
    if (type == value) {
      return name;
    }
  }
  return number_of(value);
}

std::string to_string(LogLevel value) { return name_in(kLevels, value); }

std::ostream& operator<<(std::ostream& out, MachineType value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, ControlStatus value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, MotionStatus value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, TrajectoryControlStatus value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, SensorType value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, UltrasonicType value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, NorvikOneTangoSensor value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, DexHandType value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, ActuateType value) { return out << to_string(value); }
std::ostream& operator<<(std::ostream& out, LogLevel value) { return out << to_string(value); }

}  // namespace norvik::sdk
