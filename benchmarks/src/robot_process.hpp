#pragma once

#include <chrono>
#include <cstdint>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <norvik_sdk/norvik_sdk.hpp>

#include "partner_process.hpp"
#include "report.hpp"
#include "stack.hpp"

namespace norvik::benchmarks {

// A simulated K2 that is ready to serve.
class Simulator {
 public:
  explicit Simulator(int rate_hz = 100, const std::vector<std::string>& more_options = {});

 private:
  PartnerProcess process_;
};

// ---- For the roles, which run in processes of their own ----

// The K2, ready for commands; null when there is none.
sdk::NorvikRobot* start_robot(const std::set<sdk::SensorType>& sensors = {});

// Sends `commands` until the robot takes them: a first command needs the robot's first error report and joint state.
bool wait_until_commandable(sdk::NorvikRobot& robot, const std::vector<sdk::JointCommand>& commands,
                            const std::vector<std::string>& groups);

const std::vector<std::string>& arm_groups();  // Fourteen joints.

// The usual time of a call that is made again and again, half a millisecond apart.
template <typename Call>
double median_call_us(int count, Call call) {
  std::vector<double> times_us;
  for (int i = 0; i < count; ++i) {
    const int64_t start = now_ns();
    call();
    times_us.push_back(static_cast<double>(now_ns() - start) / 1000.0);
    std::this_thread::sleep_for(std::chrono::microseconds(500));
  }
  return percentile(times_us, 0.5);
}

double resident_megabytes();
double cpu_seconds();  // Of this process so far, all threads.

// Tells the parent a word or the figures that run_role() returns, and waits for its next line.
void say(const std::string& line);
void report(const std::vector<double>& figures);
void wait_for_parent();

// ---- For the parent ----

std::vector<double> read_figures(PartnerProcess& child);
// Runs a role to its end.
std::vector<double> run_role(const std::vector<std::string>& role);

int scaled_count(double scale, int count);  // At least 100.

}  // namespace norvik::benchmarks
