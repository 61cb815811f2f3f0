#pragma once

#include <memory>
#include <string>
#include <vector>

#include "control/fault_plan.hpp"
#include "options.hpp"
#include "wire/environment.hpp"
#include "wire/service.hpp"

namespace norvik::simulator {

// The robot on the wire: its body, its services, and the clock that moves them.
class Simulator {
 public:
  // `options` as on the command line. Opens all endpoints on `node`.
  Simulator(const Options& options, std::unique_ptr<ovimux::Node> node, RobotModel robot, Kinematics kinematics,
            FaultPlan faults);
  ~Simulator();

  // Steps at the rate of the options until the middleware is asked to shut down. When the machine is too slow the
  // robot's time falls behind rather than jumping, and it says so once.
  void run();

 private:
  void step();
  void carry_out(const nlohmann::json& command);
  void tell_of_dropped_time();

  World world_;
  WireFaults wire_faults_;
  PlannerFaults planner_faults_;
  DelayQueue delays_;
  const SensorSettings sensors_;
  InfraredMode infrared_;
  Speaker speaker_;
  Observer observer_;
  Navigation navigation_;
  const std::string picture_folder_;
  std::unique_ptr<ovimux::Node> node_;
  const std::vector<EndpointInfo> endpoints_;
  Pace pace_;
  Environment environment_;
  FaultPlan fault_plan_;
  std::vector<std::unique_ptr<Service>> services_;
  double time_ = 0.0;
  bool told_of_dropped_time_ = false;
};

}  // namespace norvik::simulator
