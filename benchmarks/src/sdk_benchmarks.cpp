#include "sdk_benchmarks.hpp"

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>

#include "raw_stack.hpp"
#include "robot_process.hpp"

namespace norvik::benchmarks {
namespace {

using sdk::ControlStatus;
using sdk::JointCommand;

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
  report({copy_us, get_us, static_cast<double>(states.size())});
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
  report({percentile(times_ms, 0.5), resident_megabytes() - before_mb, all_taken ? 1.0 : 0.0});
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
  report({started ? static_cast<double>(ready_ns) : 0.0, resident_megabytes()});
  wait_for_parent();
  return 0;
}

int start_raw() {
  RawParticipant participant;
  open_raw_endpoints(participant);
  const int64_t ready_ns = now_ns();
  std::this_thread::sleep_for(std::chrono::seconds(2));
  report({static_cast<double>(ready_ns), resident_megabytes()});
  wait_for_parent();
  return 0;
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

}  // namespace

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
      {"joint_state_cost", [&] { return joint_state_cost(number(1)); }},
      {"trajectory_cost", [&] { return trajectory_cost(number(1), number(2)); }},
      {"start_sdk", [] { return start_sdk(); }},
      {"start_raw", [] { return start_raw(); }},
  };
  const auto it = roles.find(arguments.front());
  return it != roles.end() ? it->second() : -1;
}

}  // namespace norvik::benchmarks
