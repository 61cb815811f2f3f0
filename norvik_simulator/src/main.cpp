#include <unistd.h>

#include <iostream>
#include <thread>

#include "control/control_client.hpp"
#include "model/model_folder.hpp"
#include "options.hpp"
#include "ovimux/ovimux.hpp"
#include "service_table.hpp"
#include "simulator.hpp"

namespace {

using namespace norvik::simulator;

constexpr int kFailure = 1;
constexpr int kUsageError = 2;

void print_endpoints(const std::string& model) {
  static const char* const kVerbs[] = {"publishes", "subscribes", "serves"};
  for (const EndpointInfo& endpoint : endpoints_of(model)) {
    std::cout << kVerbs[static_cast<int>(endpoint.direction)] << ' ' << endpoint.name << ' ' << endpoint.type << '\n';
  }
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
    norvik::ovimux::AsyncShutdown();
  }).detach();
}

int simulate(const Options& options) {
  // First, so that a signal finds its handler.
  norvik::ovimux::OvimuxInit();
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
  const std::string name = robot->name;
  {
    Simulator simulator(options.robot.model, std::move(*robot), std::move(*kinematics), std::move(faults),
                        options.sensors);
    std::cout << "norvik_simulator ready: " << name << ", hardware version " << options.robot.hardware_version << ", "
              << options.rate << " Hz, process " << ::getpid() << std::endl;
    simulator.run(options.rate);
  }
  norvik::ovimux::Clear();
  return 0;
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
  return options.control ? run_control_client(*options.control) : simulate(options);
}
