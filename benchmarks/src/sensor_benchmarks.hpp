#pragma once

#include <string>
#include <vector>

#include "report.hpp"

namespace norvik::benchmarks {

// The streams of all cameras and lidars at once, received by the library and by bare readers of the same topics.
std::vector<Row> sensor_rows(double scale);

int run_sensor_role(const std::vector<std::string>& arguments);

}  // namespace norvik::benchmarks
