#include "simulator.hpp"

#include <iostream>
#include <thread>

#include "control/control_commands.hpp"
#include "ovimux/ovimux.hpp"
#include "service_table.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

Simulator::Simulator(const Options& options, std::unique_ptr<ovimux::Node> node, RobotModel robot,
                     Kinematics kinematics, FaultPlan faults)
    : world_(std::move(robot), std::move(kinematics), options.seed),
      sensors_(options.sensors),
      infrared_{sensors_.infrared, sensors_.infrared},
      speaker_(sensors_.speaker_folder),
      observer_(!sensors_.observer_prefix.empty()),
      navigation_(world_, options.map),
      picture_folder_(options.picture_folder),
      node_(std::move(node)),
      endpoints_(endpoints_of(options.robot.model)),
      pace_(options.rate),
      environment_{world_,   wire_faults_, planner_faults_, delays_,    *node_, sensors_,       infrared_,
                   speaker_, observer_,    navigation_,     endpoints_, pace_,  picture_folder_},
      fault_plan_(std::move(faults)) {
  for (const ServiceEntry* entry : services_of(options.robot.model)) {
    services_.push_back(entry->make(environment_));
  }
}

// A delayed reply must not find its service gone.
Simulator::~Simulator() { delays_.close(); }

void Simulator::run() {
  pace_.start(Pace::Clock::now());
  while (ovimux::OK()) {
    step();
    const auto due = pace_.next(Pace::Clock::now());
    tell_of_dropped_time();
    std::this_thread::sleep_until(due);
  }
}

void Simulator::step() {
  time_ += pace_.step_s();
  for (const nlohmann::json& command : fault_plan_.take_due(time_)) {
    carry_out(command);
  }
  world_.step(pace_.step_s());
  const WorldState state = world_.state();
  const Tick tick{state, time_, now_stamp(wire_faults_.clock_skew())};
  for (const auto& service : services_) {
    service->tick(tick);
  }
}

void Simulator::carry_out(const nlohmann::json& command) {
  const nlohmann::json answer = run_control_command(environment_, command);
  if (!answer["ok"].get<bool>()) {
    std::cerr << "norvik_simulator: " << command << ": " << answer["error"].get<std::string>() << std::endl;
  }
}

void Simulator::tell_of_dropped_time() {
  if (!told_of_dropped_time_ && pace_.dropped_s() > 0.0) {
    told_of_dropped_time_ = true;
    std::cerr << "norvik_simulator: this machine is too slow for " << 1.0 / pace_.step_s()
              << " steps a second; the robot's time falls behind (\"dropped_s\" in the answer to op state)"
              << std::endl;
  }
}

}  // namespace norvik::simulator
