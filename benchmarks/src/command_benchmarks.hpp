#pragma once

#include <string>
#include <vector>

#include "report.hpp"

namespace norvik::benchmarks {

// Commands that an application sends in a loop of its own, beside a raw writer of the same bytes.
std::vector<Row> command_cost_rows(double scale);
std::vector<Row> stream_rows(double scale);

int run_command_role(const std::vector<std::string>& arguments);

}  // namespace norvik::benchmarks
