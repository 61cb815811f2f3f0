#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <iostream>
#include <thread>

#include "control/control_client.hpp"
#include "model/model_folder.hpp"
#include "navigation/map/map_file.hpp"
#include "navigation/obstacles.hpp"
#include "options.hpp"
#include "ovimux/ovimux.hpp"
#include "service_table.hpp"
#include "services/services.hpp"
#include "simulator.hpp"
#include "wire/occupied.hpp"

namespace {

using namespace norvik::simulator;
namespace ovimux = norvik::ovimux;

constexpr int kFailure = 1;
constexpr int kUsageError = 2;
constexpr int kOccupied = 3;

// Discovery takes some 10 ms on one machine, and seldom more than 200.
constexpr std::chrono::milliseconds kLookForOthers{400};

void print_endpoints(const std::string& model) {
  static const char* const kVerbs[] = {"publishes", "subscribes", "serves"};
  for (const EndpointInfo& endpoint : endpoints_of(model)) {
    std::cout << kVerbs[static_cast<int>(endpoint.direction)] << ' ' << endpoint.name << ' ' << endpoint.type << '\n';
  }
}

std::string domain() {
  const char* id = std::getenv("OVIMUX_DOMAIN_ID");
  return id == nullptr || *id == '\0' ? "0" : id;
}

int complain(const std::string& reason, int status) {
  std::cerr << "norvik_simulator: " << reason << '\n';
  return status;
}

// A parent that dies closes our standard input, however it dies.
void shut_down_with_stdin() {
  std::thread([] {
    char discarded[256];
    while (::read(STDIN_FILENO, discarded, sizeof(discarded)) > 0) {
    }
    ovimux::AsyncShutdown();
  }).detach();
}

// Two robots on one domain would both carry out what one is told.
bool is_alone(ovimux::Node& node, std::string& error) {
  const auto occupied = find_occupied(node, {kTargetService, kControllerService}, kLookForOthers);
  if (occupied) {
    error = "another robot serves " + *occupied + " on DDS domain " + domain() +
            "; end it, set another OVIMUX_DOMAIN_ID, or start with --force";
  }
  return !occupied;
}

int run_simulator(const Options& options, RobotModel robot, Kinematics kinematics, FaultPlan faults) {
  std::string error;
  auto node = ovimux::CreateNode("norvik_simulator", "");
  if (!options.force && !is_alone(*node, error)) {
    return complain(error, kOccupied);
  }
  const std::string name = robot.name;
  Simulator simulator(options, std::move(node), std::move(robot), std::move(kinematics), std::move(faults));
  std::cout << "norvik_simulator ready: " << name << ", hardware version " << options.robot.hardware_version << ", "
            << options.rate << " Hz, process " << ::getpid() << std::endl;
  simulator.run();
  return 0;
}

int simulate(const Options& options) {
  // First, so that a signal finds its handler.
  ovimux::OvimuxInit();
  std::string error;
  FaultPlan faults;
  if (!options.faults_file.empty()) {
    auto plan = FaultPlan::load(options.faults_file, error);
    if (!plan) {
      return complain(error, kUsageError);
    }
    faults = std::move(*plan);
  }
  auto robot = make_robot_model(options.robot);
  auto kinematics = robot ? Kinematics::load(*robot, model_folder(), error) : std::nullopt;
  if (!kinematics) {
    return complain(error, kFailure);
  }
  if (options.exit_with_stdin) {
    shut_down_with_stdin();
  }
  const int status = run_simulator(options, std::move(*robot), std::move(*kinematics), std::move(faults));
  ovimux::Clear();
  return status;
}

}  // namespace

int main(int argc, char** argv) {
  const ParsedOptions parsed = parse_options(argc, argv);
  if (!parsed.options) {
    return parsed.exit_status;
  }
  const Options& options = *parsed.options;
  if (options.list) {
    print_endpoints(options.robot.model);
    return 0;
  }
  if (!options.save_map.empty()) {
    const bool saved = save_map(Obstacles::of_scene(surroundings()).map(), options.save_map);
    return saved ? 0 : complain("cannot write " + options.save_map, kFailure);
  }
  return options.control ? run_control_client(*options.control) : simulate(options);
}
