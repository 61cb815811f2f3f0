#include "robot_process.hpp"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <thread>

namespace norvik::benchmarks {
namespace {

std::vector<std::string> simulator_command(int rate_hz, const std::vector<std::string>& more_options) {
  const char* path = std::getenv("NORVIK_SIMULATOR");
  std::vector<std::string> command = {path != nullptr ? path : NORVIK_SIMULATOR_PATH, "--model", "k2", "--rate",
                                      std::to_string(rate_hz)};
  command.emplace_back("--exit-with-stdin");  // With us, however we end.
  command.insert(command.end(), more_options.begin(), more_options.end());
  return command;
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

}  // namespace

Simulator::Simulator(int rate_hz, const std::vector<std::string>& more_options)
    : process_(simulator_command(rate_hz, more_options)) {
  process_.read_after("norvik_simulator ready");
}

sdk::NorvikRobot* start_robot(const std::set<sdk::SensorType>& sensors) {
  auto& robot = sdk::NorvikRobot::get_instance(sdk::MachineType::K2);
  return robot.init(sensors) ? &robot : nullptr;
}

bool wait_until_commandable(sdk::NorvikRobot& robot, const std::vector<sdk::JointCommand>& commands,
                            const std::vector<std::string>& groups) {
  for (int i = 0; i < 100; ++i) {
    if (robot.set_joint_commands(commands, groups, {}, 0.0) == sdk::ControlStatus::SUCCESS) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

const std::vector<std::string>& arm_groups() {
  static const std::vector<std::string> groups = {"left_arm", "right_arm"};
  return groups;
}

double resident_megabytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.compare(0, 6, "VmRSS:") == 0) {
      return std::stod(line.substr(6)) / 1024.0;
    }
  }
  return 0.0;
}

double cpu_seconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void say(const std::string& line) {
  std::printf("%s\n", line.c_str());
  std::fflush(stdout);
}

void report(const std::vector<double>& figures) {
  std::ostringstream line;
  line.precision(10);
  line << "figures";
  for (const double figure : figures) {
    line << ' ' << figure;
  }
  say(line.str());
}

void wait_for_parent() {
  std::string line;
  std::getline(std::cin, line);
}

std::vector<double> read_figures(PartnerProcess& child) {
  std::istringstream stream(child.read_after("figures"));
  std::vector<double> figures;
  for (double value = 0.0; stream >> value;) {
    figures.push_back(value);
  }
  return figures;
}

std::vector<double> run_role(const std::vector<std::string>& role) {
  PartnerProcess child(self_command(role));
  auto figures = read_figures(child);
  child.write_line("end");
  return figures;
}

int scaled_count(double scale, int count) { return std::max(100, static_cast<int>(scale * count)); }

}  // namespace norvik::benchmarks
