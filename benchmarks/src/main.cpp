#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "command_benchmarks.hpp"
#include "motion_benchmarks.hpp"
#include "partner_process.hpp"
#include "report.hpp"
#include "sdk_benchmarks.hpp"
#include "sensor_benchmarks.hpp"
#include "wire_benchmarks.hpp"

namespace norvik::benchmarks {
namespace {

using Suite = std::pair<const char*, std::function<std::vector<Row>(double)>>;

const std::vector<Suite>& suites() {
  static const std::vector<Suite> all = {
      {"latency", latency_rows},
      {"throughput", throughput_rows},
      {"round_trip", round_trip_rows},
      {"command_cost", command_cost_rows},
      {"joint_states", joint_state_rows},
      {"trajectory", [](double /*scale*/) { return trajectory_rows(); }},
      {"stream", stream_rows},
      {"sensors", sensor_rows},
      {"motion", motion_rows},
      {"start", [](double /*scale*/) { return start_rows(); }},
      {"memory", [](double /*scale*/) { return memory_rows(); }},
  };
  return all;
}

int run_suites(const std::vector<std::string>& arguments) {
  double scale = 1.0;
  std::string json_path;
  std::string only;
  for (size_t i = 0; i < arguments.size(); ++i) {
    const bool has_value = i + 1 < arguments.size();
    if (arguments[i] == "--quick") {
      scale = 0.1;
    } else if (arguments[i] == "--scale" && has_value) {
      scale = std::stod(arguments[++i]);
    } else if (arguments[i] == "--json" && has_value) {
      json_path = arguments[++i];
    } else if (arguments[i] == "--only" && has_value) {
      only = arguments[++i];
    } else {
      std::fprintf(stderr, "usage: norvik_benchmarks [--quick | --scale FACTOR] [--only SUITE] [--json FILE]\n");
      return 2;
    }
  }
  std::vector<Row> rows;
  for (const auto& [name, suite] : suites()) {
    if (only.empty() || only == name) {
      std::fprintf(stderr, "running %s ...\n", name);
      const auto more = suite(scale);
      rows.insert(rows.end(), more.begin(), more.end());
    }
  }
  print_table(rows);
  if (!json_path.empty()) {
    write_json(rows, json_path);
  }
  return 0;
}

// Each file with roles answers -1 for one that is not among its own.
int run_role_of_ours(const std::vector<std::string>& arguments) {
  end_with_parent();
  for (const auto run : {run_wire_role, run_sdk_role, run_command_role, run_sensor_role, run_motion_role}) {
    const int status = run(arguments);
    if (status >= 0) {
      return status;
    }
  }
  return -1;
}

int run(const std::vector<std::string>& arguments) {
  if (!arguments.empty() && arguments.front().compare(0, 2, "--") != 0) {
    return run_role_of_ours(arguments);
  }
  return run_suites(arguments);
}

}  // namespace
}  // namespace norvik::benchmarks

// Without a role this program runs the suites; it starts itself in the roles they need.
int main(int argc, char** argv) {
  try {
    return norvik::benchmarks::run(std::vector<std::string>(argv + 1, argv + argc));
  } catch (const std::exception& exception) {
    std::fprintf(stderr, "norvik_benchmarks: %s\n", exception.what());
    return 1;
  }
}
