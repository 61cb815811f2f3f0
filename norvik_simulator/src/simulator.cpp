#include "simulator.hpp"

#include <chrono>
#include <thread>

#include "control/control_commands.hpp"
#include "ovimux/ovimux.hpp"
#include "service_table.hpp"
#include "wire/state_messages.hpp"

namespace norvik::simulator {

Simulator::Simulator(const std::string& model, RobotModel robot, Kinematics kinematics, FaultPlan faults,
                     const SensorSettings& sensors)
    : world_(std::move(robot), std::move(kinematics)),
      sensors_(sensors),
      infrared_{sensors.infrared, sensors.infrared},
      speaker_(sensors.speaker_folder),
      node_(ovimux::CreateNode("norvik_simulator", "")),
      endpoints_(endpoints_of(model)),
      environment_{world_, wire_faults_, delays_, *node_, sensors_, infrared_, speaker_, endpoints_},
      fault_plan_(std::move(faults)) {
  for (const ServiceEntry* entry : services_of(model)) {
    services_.push_back(entry->make(environment_));
  }
}

// A delayed reply must not find its service gone.
Simulator::~Simulator() { delays_.close(); }

void Simulator::run(double rate) {
  using Clock = std::chrono::steady_clock;
  const double dt = 1.0 / rate;
  const auto period = std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(dt));
  auto next = Clock::now();
  while (ovimux::OK()) {
    step(dt);
    next = std::max(next + period, Clock::now() - 10 * period);
    std::this_thread::sleep_until(next);
  }
}

void Simulator::step(double dt) {
  time_ += dt;
  for (const nlohmann::json& command : fault_plan_.take_due(time_)) {
    run_control_command(environment_, command);
  }
  world_.step(dt);
  const WorldState state = world_.state();
  const Tick tick{state, time_, now_stamp(wire_faults_.clock_skew())};
  for (const auto& service : services_) {
    service->tick(tick);
  }
}

}  // namespace norvik::simulator
