#pragma once

#include <optional>
#include <string>

#include "navigation/map/occupancy_grid.hpp"

namespace norvik::simulator {

// Maps as map servers write them: a YAML file with "image" (a PGM file beside it), "resolution" (metres a pixel),
// "origin" (x, y and yaw of the lower left corner), "negate", "occupied_thresh", "free_thresh", and "mode" trinary.
// What is not free, and be it unknown, is in the way.

// Empty, with a reason, when a file cannot be read or makes no map of at most 4000 by 4000 pixels.
std::optional<OccupancyGrid> load_map(const std::string& yaml_path, std::string& error);

// Writes `yaml_path` and the picture beside it. False when that fails.
bool save_map(const OccupancyGrid& map, const std::string& yaml_path);

}  // namespace norvik::simulator
