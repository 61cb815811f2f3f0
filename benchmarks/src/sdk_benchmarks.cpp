#include "sdk_benchmarks.hpp"

#include <chrono>
#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <mutex>
#include <sstream>
#include <string>
#include <thread>
#include <norvik_sdk/norvik_sdk.hpp>

#include "child_process.hpp"
#include "norvik/tavrinox_proto/tavrinox_target.pb.h"
#include "raw_stack.hpp"
#include "stack.hpp"

namespace norvik::benchmarks {
namespace {

using sdk::ControlStatus;
using sdk::JointCommand;
using sdk::MachineType;
using sdk::NorvikRobot;

const std::vector<std::string>& arm_groups() {
  static const std::vector<std::string> groups = {"left_arm", "right_arm"};
  return groups;
}

std::string simulator_path() {
  const char* path = std::getenv("NORVIK_SIMULATOR");
  return path != nullptr ? path : NORVIK_SIMULATOR_PATH;
}

// A simulated K2 that is ready to serve.
class Simulator {
 public:
  explicit Simulator(int rate_hz = 100)
      : process_({simulator_path(), "--model", "k2", "--rate", std::to_string(rate_hz)}) {
    process_.read_after("norvik_simulator ready");
  }

 private:
  ChildProcess process_;
};

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

void report(const std::string& figures) {
  std::printf("figures %s\n", figures.c_str());
  std::fflush(stdout);
}

void wait_for_parent() {
  std::string line;
  std::getline(std::cin, line);
}

// A first command needs the robot's first error report and joint state.
bool wait_until_commandable(NorvikRobot& robot, const std::vector<JointCommand>& commands,
                            const std::vector<std::string>& groups) {
  for (int i = 0; i < 100; ++i) {
    if (robot.set_joint_commands(commands, groups, {}, 0.0) == ControlStatus::SUCCESS) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  return false;
}

NorvikRobot* start_robot() {
  auto& robot = NorvikRobot::get_instance(MachineType::K2);
  return robot.init() ? &robot : nullptr;
}

// The target that set_joint_commands sends for both arms.
std::string both_arms_target() {
  tavrinox_proto::TavrinoXTarget target;
  for (const auto& group : arm_groups()) {
    auto& trajectory = (*target.mutable_target_group_trajectory_map())[group];
    trajectory.mutable_target_config()->set_target_data(255);
    trajectory.mutable_target_config()->set_target_type(10);
    trajectory.mutable_target_config()->set_target_priority(1);
    auto& command = *trajectory.add_group_commands();
    command.mutable_time_from_start();
    for (int i = 1; i <= 7; ++i) {
      trajectory.add_joint_names(group + "_joint" + std::to_string(i));
      command.add_joint_commands();
    }
  }
  return target.SerializeAsString();
}

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

int command_cost_sdk(int count) {
  auto* robot = start_robot();
  const std::vector<JointCommand> commands(14);
  if (robot == nullptr || !wait_until_commandable(*robot, commands, arm_groups())) {
    return 1;
  }
  report(std::to_string(median_call_us(count, [&] { robot->set_joint_commands(commands, arm_groups(), {}, 0.0); })));
  wait_for_parent();
  return 0;
}

int command_cost_raw(int count) {
  RawParticipant participant;
  auto* writer = participant.create_writer("tavrinox/wbcs/target", false);
  ovimux::Envelope envelope;
  const std::string bytes = both_arms_target();
  envelope.raw_data.assign(bytes.begin(), bytes.end());
  envelope.pkg_len = static_cast<int32_t>(bytes.size());
  std::this_thread::sleep_for(std::chrono::seconds(1));  // The simulator is matched.
  report(std::to_string(median_call_us(count, [&] {
    ++envelope.seq;
    writer->write(&envelope);
  })));
  wait_for_parent();
  return 0;
}

// Sends set-points at 1 kHz and reports how many were sent and how regular the calls were.
int stream_commands(int count, int joints) {
  auto* robot = start_robot();
  auto groups = arm_groups();
  if (joints == 21) {
    groups.insert(groups.end(), {"leg", "head"});
  }
  const std::vector<JointCommand> commands(static_cast<size_t>(joints));
  if (robot == nullptr || !wait_until_commandable(*robot, commands, groups)) {
    return 1;
  }
  std::printf("streaming\n");
  std::fflush(stdout);
  wait_for_parent();
  std::vector<double> period_errors_us;
  std::vector<double> calls_us;
  int sent = 0;
  auto next = std::chrono::steady_clock::now();
  int64_t previous = now_ns();
  for (int i = 0; i < count; ++i) {
    next += std::chrono::milliseconds(1);
    std::this_thread::sleep_until(next);
    const int64_t start = now_ns();
    sent += robot->set_joint_commands(commands, groups, {}, 0.0) == ControlStatus::SUCCESS ? 1 : 0;
    calls_us.push_back(static_cast<double>(now_ns() - start) / 1000.0);
    period_errors_us.push_back(std::abs(static_cast<double>(start - previous) / 1000.0 - 1000.0));
    previous = start;
  }
  std::ostringstream figures;
  figures << sent << ' ' << percentile(period_errors_us, 0.99) << ' ' << percentile(calls_us, 0.5);
  report(figures.str());
  wait_for_parent();
  return 0;
}

// Counts the samples that arrive on the target topic, as the robot would see them.
int count_commands() {
  int64_t count = 0;
  std::mutex mutex;
  RawParticipant participant;
  participant.create_reader("tavrinox/wbcs/target", false,
                            [&](const ovimux::Envelope&, const eprosima::fastdds::dds::SampleInfo&) {
                              const std::lock_guard<std::mutex> lock(mutex);
                              ++count;
                            });
  for (std::string line; std::getline(std::cin, line);) {
    const std::lock_guard<std::mutex> lock(mutex);
    report(std::to_string(count));
    count = 0;
  }
  return 0;
}

int joint_state_cost(int count) {
  auto* robot = start_robot();
  if (robot == nullptr) {
    return 1;
  }
  std::vector<sdk::JointState> states;
  for (int i = 0; i < 100 && states.empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    states = robot->get_joint_states();
  }
  std::vector<sdk::JointState> copy;
  const double copy_us = median_call_us(count, [&] { copy = std::vector<sdk::JointState>(states); });
  const double get_us = median_call_us(count, [&] { states = robot->get_joint_states(); });
  report(std::to_string(copy_us) + " " + std::to_string(get_us) + " " + std::to_string(states.size()));
  wait_for_parent();
  return 0;
}

sdk::Trajectory long_trajectory(int points) {
  sdk::Trajectory trajectory;
  trajectory.joint_groups = arm_groups();
  for (int i = 1; i <= points; ++i) {
    trajectory.points.push_back({0.01 * i, std::vector<JointCommand>(14)});
  }
  return trajectory;
}

// Builds and sends one trajectory again and again: the time of a call, and by how much the process grew.
int trajectory_cost(int points, int count) {
  auto* robot = start_robot();
  if (robot == nullptr || !wait_until_commandable(*robot, std::vector<JointCommand>(14), arm_groups())) {
    return 1;
  }
  const auto trajectory = long_trajectory(points);
  const double before_mb = resident_megabytes();
  std::vector<double> times_ms;
  bool all_taken = true;
  for (int i = 0; i < count; ++i) {
    auto sent = trajectory;
    const int64_t start = now_ns();
    all_taken = robot->execute_joint_trajectory(std::move(sent), false) == ControlStatus::SUCCESS && all_taken;
    times_ms.push_back(static_cast<double>(now_ns() - start) / 1e6);
  }
  report(std::to_string(percentile(times_ms, 0.5)) + " " + std::to_string(resident_megabytes() - before_mb) + " " +
         std::to_string(all_taken ? 1 : 0));
  wait_for_parent();
  return 0;
}

struct Endpoint {
  const char* topic;
  bool large;
};

// The endpoints that a K2 without sensors opens.
constexpr Endpoint kReaders[] = {{"/cam_arm_l/meta_data/params", false},
                                 {"/cam_arm_r/meta_data/params", false},
                                 {"/ovimux_tf", false},
                                 {"/ovimux_tf_static", false},
                                 {"/norvik/mission_manager/onboard_config", false},
                                 {"bms", false},
                                 {"tavrinox/wbcs/target_server__RPC__RESPONSE", true},
                                 {"tavrinox/wbcs/controller_server__RPC__RESPONSE", true},
                                 {"tavrinox/wbcs/error", false},
                                 {"tavrinox/wbcs/wbc_info", false},
                                 {"tavrinox/wbcs/sensor", false},
                                 {"/odom/base_link", false},
                                 {"/norvik/mic", false}};
constexpr Endpoint kWriters[] = {{"tavrinox/wbcs/target", false},
                                 {"tavrinox/wbcs/target_server__RPC__REQUEST", true},
                                 {"tavrinox/wbcs/controller_server__RPC__REQUEST", true},
                                 {"/norvik/spk", false}};

// Opens the same endpoints as the library and waits for the controller's services.
void open_raw_endpoints(RawParticipant& participant) {
  using eprosima::fastdds::dds::PublicationMatchedStatus;
  for (const auto& reader : kReaders) {
    participant.create_reader(reader.topic, reader.large,
                              [](const ovimux::Envelope&, const eprosima::fastdds::dds::SampleInfo&) {});
  }
  std::vector<eprosima::fastdds::dds::DataWriter*> services;
  for (const auto& writer : kWriters) {
    auto* created = participant.create_writer(writer.topic, writer.large);
    if (writer.large) {
      services.push_back(created);
    }
  }
  for (auto* service : services) {
    PublicationMatchedStatus status;
    do {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
      service->get_publication_matched_status(status);
    } while (status.total_count == 0);
  }
}

int start_sdk() {
  const bool started = start_robot() != nullptr;
  const int64_t ready_ns = now_ns();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  report(std::to_string(started ? ready_ns : 0) + " " + std::to_string(resident_megabytes()));
  wait_for_parent();
  return 0;
}

int start_raw() {
  RawParticipant participant;
  open_raw_endpoints(participant);
  const int64_t ready_ns = now_ns();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  report(std::to_string(ready_ns) + " " + std::to_string(resident_megabytes()));
  wait_for_parent();
  return 0;
}

std::vector<double> run_role(const std::vector<std::string>& role) {
  ChildProcess child(self_command(role));
  std::istringstream stream(child.read_after("figures"));
  child.write_line("end");
  std::vector<double> figures;
  for (double value = 0.0; stream >> value;) {
    figures.push_back(value);
  }
  return figures;
}

struct StartFigures {
  double start_ms;
  double resident_mb;
};

StartFigures measure_start(const std::string& role) {
  const Simulator simulator;
  std::vector<double> times_ms;
  std::vector<double> resident_mb;
  for (int i = 0; i < 5; ++i) {
    const int64_t begin = now_ns();
    const auto figures = run_role({role});
    times_ms.push_back((figures.at(0) - static_cast<double>(begin)) / 1e6);
    resident_mb.push_back(figures.at(1));
  }
  return {percentile(times_ms, 0.5), percentile(resident_mb, 0.5)};
}

const StartFigures& raw_start() {
  static const StartFigures figures = measure_start("start_raw");
  return figures;
}

const StartFigures& sdk_start() {
  static const StartFigures figures = measure_start("start_sdk");
  return figures;
}

int scaled_count(double scale, int count) { return std::max(100, static_cast<int>(scale * count)); }

}  // namespace

std::vector<Row> command_cost_rows(double scale) {
  const Simulator simulator;
  const std::string count = std::to_string(scaled_count(scale, 5000));
  const double raw = run_role({"command_cost_raw", count}).at(0);
  const double ours = run_role({"command_cost_sdk", count}).at(0);
  return {{"set_joint_commands, 14 joints, p50 of the call", "us", raw, ours, 1.5, false, ""},
          {"set_joint_commands, 14 joints, p50 of the call", "us", 0.0, ours, 30.0, false, "absolute"}};
}

std::vector<Row> stream_rows(double scale) {
  std::vector<Row> rows;
  for (const int joints : {14, 21}) {
    const Simulator simulator;
    ChildProcess counter(self_command({"count_commands"}));
    const int count = scaled_count(scale, 60000);
    ChildProcess sender(self_command({"stream_commands", std::to_string(count), std::to_string(joints)}));
    sender.read_after("streaming");
    std::this_thread::sleep_for(std::chrono::seconds(1));
    counter.write_line("reset");
    counter.read_after("figures");
    sender.write_line("go");
    std::istringstream figures(sender.read_after("figures"));
    std::this_thread::sleep_for(std::chrono::seconds(1));
    counter.write_line("count");
    const double received = std::stod(counter.read_after("figures"));
    double sent = 0.0;
    double period_error_us = 0.0;
    double call_us = 0.0;
    figures >> sent >> period_error_us >> call_us;
    const std::string name =
        "1 kHz set-points, " + std::to_string(joints) + " joints, " + std::to_string(count / 1000) + " s";
    rows.push_back({name + ", not received", "", 0.0, count - std::min<double>(sent, received), 0.0, false, ""});
    rows.push_back({name + ", p99 of the period error", "us", 0.0, period_error_us, 200.0, false, ""});
    rows.push_back({name + ", p50 of the call", "us", 0.0, call_us, 30.0, false, ""});
  }
  return rows;
}

std::vector<Row> joint_state_rows(double scale) {
  std::vector<Row> rows;
  for (const int rate_hz : {100, 1000}) {
    const Simulator simulator(rate_hz);
    const auto figures = run_role({"joint_state_cost", std::to_string(scaled_count(scale, 2000))});
    const std::string note =
        std::to_string(static_cast<int>(figures.at(2))) + " joints, reports at " + std::to_string(rate_hz) + " Hz";
    rows.push_back({"get_joint_states of all joints, p50", "us", figures.at(0), figures.at(1), 3.0, false, note});
  }
  return rows;
}

// The baseline is ten times the time of a trajectory with a tenth of the points: what grows with the square of the
// points takes ten times as long as that.
std::vector<Row> trajectory_rows() {
  const Simulator simulator;
  const auto tenth = run_role({"trajectory_cost", "1000", "20"});
  const auto whole = run_role({"trajectory_cost", "10000", "5"});
  const bool all_taken = tenth.at(2) == 1.0 && whole.at(2) == 1.0;
  return {{"execute_joint_trajectory, 10000 points of 14 joints", "ms", 10.0 * tenth.at(0), whole.at(0), 3.0, false,
           all_taken ? "baseline: ten times 1000 points" : "NOT ACCEPTED"},
          {"the same, growth of the process", "MB", 0.0, whole.at(1), 100.0, false, ""}};
}

std::vector<Row> memory_rows() {
  return {{"resident memory after init", "MB", raw_start().resident_mb, sdk_start().resident_mb, 1.5, false, ""}};
}

std::vector<Row> start_rows() {
  return {{"process start to init, simulator up", "ms", raw_start().start_ms, sdk_start().start_ms, 1.3, false, ""}};
}

int run_sdk_role(const std::vector<std::string>& arguments) {
  const auto number = [&arguments](size_t index) { return std::stoi(arguments.at(index)); };
  const std::map<std::string, std::function<int()>> roles = {
      {"command_cost_sdk", [&] { return command_cost_sdk(number(1)); }},
      {"command_cost_raw", [&] { return command_cost_raw(number(1)); }},
      {"stream_commands", [&] { return stream_commands(number(1), number(2)); }},
      {"count_commands", [] { return count_commands(); }},
      {"joint_state_cost", [&] { return joint_state_cost(number(1)); }},
      {"trajectory_cost", [&] { return trajectory_cost(number(1), number(2)); }},
      {"start_sdk", [] { return start_sdk(); }},
      {"start_raw", [] { return start_raw(); }},
  };
  const auto it = roles.find(arguments.front());
  return it != roles.end() ? it->second() : -1;
}

}  // namespace norvik::benchmarks
