#pragma once

#include <string>
#include <vector>

#include "report.hpp"

namespace norvik::benchmarks {

// What the planning facade costs beside the bare middleware, which sends the same requests.
std::vector<Row> motion_rows(double scale);

// -1 when the role is not among those of this file.
int run_motion_role(const std::vector<std::string>& arguments);

}  // namespace norvik::benchmarks
