#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "model/robot_model.hpp"
#include "navigation/map/occupancy_grid.hpp"
#include "sight/sensor_settings.hpp"

namespace norvik::simulator {

struct Options {
  RobotOptions robot;
  double rate = 100.0;
  uint64_t seed = 0;  // Moves the things that can be grasped; 0 leaves them at their places.
  SensorSettings sensors;
  std::string faults_file;
  std::optional<OccupancyGrid> map;    // In place of the surroundings, for the navigation.
  std::string save_map;                // Write the map of the surroundings there, and end.
  std::string picture_folder;          // Where pictures of the map go.
  std::optional<std::string> control;  // A command for a running simulator: send it, print the answer, end.
  bool list = false;
  bool force = false;  // Also when another robot is on the domain.
  bool exit_with_stdin = false;
};

// Either options, or the status to exit with: 0 after --help, 2 after a complaint on stderr.
struct ParsedOptions {
  std::optional<Options> options;
  int exit_status = 0;
};
ParsedOptions parse_options(int argc, const char* const* argv);

}  // namespace norvik::simulator
