#pragma once

#include <atomic>
#include <string>

namespace norvik::simulator {

// What the command line says about sensors.
struct SensorSettings {
  int picture_width = 640;  // pixels
  int picture_height = 480;
  double camera_hertz = 10.0;
  double lidar_hertz = 10.0;
  bool infrared = false;  // The arm cameras' mode at start-up.
  std::string speaker_folder;
  std::string observer_prefix;  // What its files begin with; empty for no observer.
};

// Which arm cameras take infrared pictures now.
struct InfraredMode {
  std::atomic<bool> left{false};
  std::atomic<bool> right{false};
};

}  // namespace norvik::simulator
