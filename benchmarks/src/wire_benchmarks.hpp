#pragma once

#include <string>
#include <vector>

#include "report.hpp"

namespace norvik::benchmarks {

// Middleware against raw Fast DDS, each time between two processes. `scale` shortens (below 1) the runs.
std::vector<Row> latency_rows(double scale);
std::vector<Row> throughput_rows(double scale);
std::vector<Row> round_trip_rows(double scale);

// The other sides, run as child processes: role, stack, and the role's own arguments.
int run_wire_role(const std::vector<std::string>& arguments);

}  // namespace norvik::benchmarks
