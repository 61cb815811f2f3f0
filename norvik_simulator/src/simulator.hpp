#pragma once

#include <memory>
#include <string>
#include <vector>

#include "control/fault_plan.hpp"
#include "wire/environment.hpp"
#include "wire/service.hpp"

namespace norvik::simulator {

// The robot on the wire: its body, its services, and the clock that moves them.
class Simulator {
 public:
  // `model` as on the command line. Opens all endpoints.
  Simulator(const std::string& model, RobotModel robot, Kinematics kinematics, FaultPlan faults,
            const SensorSettings& sensors);
  ~Simulator();

  // Steps `rate` times a second until the middleware is asked to shut down. When the machine is too slow the robot's
  // time falls behind rather than jumping.
  void run(double rate);

 private:
  void step(double dt);

  World world_;
  WireFaults wire_faults_;
  DelayQueue delays_;
  const SensorSettings sensors_;
  InfraredMode infrared_;
  Speaker speaker_;
  std::unique_ptr<ovimux::Node> node_;
  const std::vector<EndpointInfo> endpoints_;
  Environment environment_;
  FaultPlan fault_plan_;
  std::vector<std::unique_ptr<Service>> services_;
  double time_ = 0.0;
};

}  // namespace norvik::simulator
