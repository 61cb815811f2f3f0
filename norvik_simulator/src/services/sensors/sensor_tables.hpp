#pragma once

#include <functional>
#include <string>
#include <vector>

#include "model/robot_model.hpp"
#include "services/services.hpp"
#include "sight/picture.hpp"

namespace norvik::simulator {

enum class ArmSide { kNone, kLeft, kRight };

struct CameraRow {
  std::string topics;  // What its topics begin with.
  const char* image;   // The rest of the picture's topic.
  const char* frame;
  PixelKind kind;
  ArmSide infrared;  // Takes pictures in this arm camera's infrared mode only.
  bool only_k2;

  std::string image_topic() const { return topics + image; }
  std::string info_topic() const { return topics + "/camera_info"; }
};

// A sensor of one model.
struct SensorRow {
  const char* topic;
  const char* frame;
  const char* model;  // Its name.
  bool large = true;  // Uses the large envelope.

  ovimux::Qos qos() const { return large ? stream_qos() : ovimux::Qos{}; }
};

const std::vector<CameraRow>& camera_table();
const std::vector<SensorRow>& lidar_table();
const std::vector<SensorRow>& imu_table();

// Those of one robot; they point into the table.
std::vector<std::reference_wrapper<const SensorRow>> rows_of(const std::vector<SensorRow>& table,
                                                             const RobotModel& robot);

}  // namespace norvik::simulator
