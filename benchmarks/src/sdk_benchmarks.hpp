#pragma once

#include <string>
#include <vector>

#include "report.hpp"

namespace norvik::benchmarks {

// The library against the simulated robot, which each of these starts.
std::vector<Row> joint_state_rows(double scale);
std::vector<Row> trajectory_rows();
std::vector<Row> memory_rows();
std::vector<Row> start_rows();

int run_sdk_role(const std::vector<std::string>& arguments);

}  // namespace norvik::benchmarks
